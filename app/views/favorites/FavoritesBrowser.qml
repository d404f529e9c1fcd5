import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// The favourites of the active connection, of the kind picked above them: live channels as cards
// that play them, movies and series as tiles that open them in the catalogue. The search and the
// lists live in the library model's favourites browser; the kind picked is the library's
// `favoriteSection`, so it is kept when the user comes back.
Item {
    id: root

    required property LibraryModel library

    readonly property FavoritesModel browser: library.favoritesBrowser
    readonly property bool showsChannels: library.favoriteSection === "live"
    readonly property int shownCount: showsChannels ? browser.channels.count : browser.titles.count

    implicitWidth: 800
    implicitHeight: 600

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 24
        spacing: Theme.spacing

        SegmentedPicker {
            objectName: "favoriteSectionPicker"
            title: "Tipus de favorits"
            model: [
                {value: "live", text: "TV en directe · " + root.browser.liveCount},
                {value: "movies", text: "Pel·lícules · " + root.browser.movieCount},
                {value: "series", text: "Sèries · " + root.browser.seriesCount}
            ]
            currentValue: root.library.favoriteSection
            onActivated: value => root.library.favoriteSection = value
            Layout.fillWidth: true
            Layout.maximumWidth: 650
        }
        SearchField {
            objectName: "favoritesSearch"
            placeholderText: "Cerca als favorits"
            text: root.browser.search
            onTextEdited: root.browser.search = text
            Layout.fillWidth: true
            Layout.maximumWidth: 650
        }
        Label {
            objectName: "favoritesCaption"
            text: "Els favorits de la llista seleccionada, ordenats de la A a la Z."
            font.pixelSize: Theme.captionSize + 1
            color: Theme.secondaryText
            Layout.fillWidth: true
            elide: Text.ElideRight
        }

        Item {
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.topMargin: Theme.spacingTiny

            EmptyStatePanel {
                objectName: "favoritesEmptyState"
                anchors.fill: parent
                visible: root.shownCount === 0
                iconName: "star"
                title: root.browser.search.length > 0 ? "Cap resultat" : "Encara no tens favorits aquí"
                description: root.browser.search.length > 0
                             ? "Prova una altra cerca o canvia el tipus de contingut."
                             : "Prem l’estrella d’un canal, una pel·lícula o una sèrie per trobar-lo aquí."
            }

            // Channel cards: adaptive columns 270 to 450 wide, 16 apart. The view reaches one
            // spacing past the right edge, so that every cell (card and spacing) fits in it.
            GridView {
                id: channelGrid

                readonly property int spacing: 16
                readonly property int columns: Math.max(1, Math.floor(width / (270 + spacing)))
                readonly property real columnWidth: Math.min(450, Math.floor(width / columns) - spacing)

                objectName: "favoriteChannelGrid"
                anchors.fill: parent
                anchors.rightMargin: -spacing
                visible: root.showsChannels && root.shownCount > 0
                model: root.browser.channels
                cellWidth: columnWidth + spacing
                cellHeight: 76 + spacing
                reuseItems: true
                clip: true
                boundsBehavior: Flickable.StopAtBounds
                ScrollBar.vertical: ScrollBar {}

                delegate: FavoriteChannelCard {
                    width: channelGrid.columnWidth
                    height: 76
                    onPlayRequested: index => root.browser.playChannel(index)
                    onRemoveRequested: index => root.browser.removeChannel(index)
                }
            }

            // Title tiles: adaptive columns 140 to 190 wide, 20 apart, rows 24 apart, padding 20.
            GridView {
                id: titleGrid

                readonly property int columnSpacing: 20
                readonly property int rowSpacing: 24
                readonly property int columns: Math.max(1, Math.floor(width / (140 + columnSpacing)))
                readonly property real columnWidth: Math.min(190, Math.floor(width / columns) - columnSpacing)

                objectName: "favoriteTitleGrid"
                anchors.fill: parent
                // 20 of padding on the right, less the spacing every cell carries.
                anchors.leftMargin: 20
                anchors.rightMargin: 20 - columnSpacing
                topMargin: 20
                bottomMargin: 20
                visible: !root.showsChannels && root.shownCount > 0
                model: root.browser.titles
                cellWidth: columnWidth + columnSpacing
                // The poster (2 : 3), the name and caption, and the favourite button.
                cellHeight: Math.round(columnWidth * 3 / 2) + 78 + rowSpacing
                reuseItems: true
                clip: true
                boundsBehavior: Flickable.StopAtBounds
                ScrollBar.vertical: ScrollBar {}

                delegate: FavoriteCatalogTile {
                    width: titleGrid.columnWidth
                    browser: root.browser
                    favorites: root.library.catalogFavorites
                    onOpenRequested: index => root.browser.openTitle(index)
                }
            }
        }
    }
}
