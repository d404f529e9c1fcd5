import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// The titles of the selected category: a header with the category's name and count, the title
// search and the order, then the grid of cards — or, in its place, the loading spinner, the error
// with a way to try again, or why there is nothing to show.
Item {
    id: root

    required property CatalogModel catalog

    readonly property int count: catalog.filteredItems.count
    readonly property bool searching: catalog.search.length > 0
    // Adaptive columns: as many as fit at 140 or more, each growing up to 190; the rest stays free
    // on the trailing side.
    readonly property int columnSpacing: 20
    readonly property int rowSpacing: 24
    readonly property int columns: Math.max(1, Math.floor((content.width + columnSpacing) / (140 + columnSpacing)))
    readonly property real cardWidth: Math.min(190, Math.floor((content.width + columnSpacing) / columns - columnSpacing))

    ColumnLayout {
        anchors.fill: parent
        spacing: Theme.spacing

        RowLayout {
            spacing: Theme.spacing
            Layout.fillWidth: true

            ColumnLayout {
                spacing: 2
                Layout.fillWidth: true

                Label {
                    objectName: "categoryTitle"
                    text: root.catalog.selectedCategory ? root.catalog.selectedCategory.name : "Explora el catàleg"
                    font.pixelSize: Theme.title2Size
                    font.weight: Font.Bold
                    color: Theme.primaryText
                    elide: Text.ElideRight
                    Layout.fillWidth: true
                }
                Label {
                    objectName: "titleCount"
                    text: root.catalog.loading ? "Carregant títols…"
                                               : root.count + " " + (root.count === 1 ? "títol" : "títols")
                                                 + " en aquesta categoria"
                    font.pixelSize: Theme.calloutSize
                    color: Theme.secondaryText
                    elide: Text.ElideRight
                    Layout.fillWidth: true
                }
            }
        }

        RowLayout {
            spacing: Theme.spacingSmall + 2
            Layout.fillWidth: true

            SearchField {
                objectName: "titleSearchField"
                placeholderText: "Cerca un títol en aquesta categoria"
                text: root.catalog.search
                onTextEdited: root.catalog.search = text
                Layout.fillWidth: true
                Layout.maximumWidth: 420
            }
            // "Afegeix aquesta agrupació a una llista…" (this category into a personal list) goes here.
            Item { Layout.fillWidth: true }
            Label {
                text: "Ordre"
                font.pixelSize: Theme.calloutSize
                color: Theme.secondaryText
            }
            CatalogPicker {
                objectName: "sortPicker"
                Accessible.name: "Ordre"
                model: ["Afegits recentment", "Títol A–Z"]
                currentIndex: root.catalog.sortByTitle ? 1 : 0
                onActivated: index => root.catalog.sortByTitle = index === 1
                Layout.preferredWidth: 180
            }
        }

        Item {
            id: content

            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.topMargin: Theme.spacingTiny

            // Measures a card at the grid's width: rows are as tall as its poster and captions.
            CatalogCard {
                id: measure

                visible: false
                width: root.cardWidth
                name: "M"
                year: "2000"
            }

            GridView {
                id: grid

                objectName: "titleGrid"
                anchors.fill: parent
                // The last column's spacing hangs past the trailing edge.
                anchors.rightMargin: -root.columnSpacing
                visible: !root.catalog.loading && root.catalog.error.length === 0 && root.count > 0
                model: root.catalog.filteredItems
                reuseItems: true
                clip: true
                cellWidth: root.cardWidth + root.columnSpacing
                cellHeight: measure.implicitHeight + root.rowSpacing
                boundsBehavior: Flickable.StopAtBounds
                ScrollBar.vertical: gridScrollBar

                delegate: Item {
                    id: cell

                    required property int index
                    required property string name
                    required property url poster
                    required property string year
                    required property string ratingLabel
                    required property bool watched

                    width: grid.cellWidth
                    height: grid.cellHeight

                    CatalogCard {
                        objectName: "titleCard"
                        width: root.cardWidth
                        name: cell.name
                        posterURL: cell.poster
                        year: cell.year
                        ratingLabel: cell.ratingLabel
                        watched: cell.watched
                        symbol: root.catalog.kindSymbol
                        kindTitle: root.catalog.kindTitle
                        onClicked: root.catalog.showItemAt(cell.index)
                    }
                }
            }

            // Beside the grid rather than in it: the grid reaches past the trailing edge.
            ScrollBar {
                id: gridScrollBar

                anchors.top: parent.top
                anchors.bottom: parent.bottom
                anchors.right: parent.right
                anchors.rightMargin: -Theme.spacingSmall
            }

            ColumnLayout {
                objectName: "loadingTitles"
                anchors.centerIn: parent
                visible: root.catalog.loading
                spacing: Theme.spacingSmall

                BusyIndicator {
                    running: parent.visible
                    Layout.alignment: Qt.AlignHCenter
                }
                Label {
                    text: "Preparant el teu catàleg"
                    color: Theme.secondaryText
                    font.pixelSize: Theme.bodySize
                    Layout.alignment: Qt.AlignHCenter
                }
            }

            EmptyStatePanel {
                objectName: "titlesError"
                anchors.fill: parent
                visible: !root.catalog.loading && root.catalog.error.length > 0
                iconName: "wifi.exclamationmark"
                title: "No s’ha pogut carregar"
                description: root.catalog.error
                actionText: "Torna-ho a provar"
                onActionTriggered: root.catalog.retry()
            }

            EmptyStatePanel {
                objectName: "noTitles"
                anchors.fill: parent
                visible: !root.catalog.loading && root.catalog.error.length === 0 && root.count === 0
                iconName: root.catalog.kind === "series" ? "tv" : "film"
                title: root.searching ? "Cap resultat" : "Sense títols"
                description: root.searching ? "Prova un altre títol o una altra categoria."
                                            : "Tria una altra categoria. El contingut disponible depèn del teu proveïdor."
                actionText: root.searching ? "Neteja la cerca" : ""
                onActionTriggered: root.catalog.search = ""
            }
        }
    }
}
