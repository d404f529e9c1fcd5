import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// The sidebar: brand, sections, connections, "Afegeix una llista" and where connections are kept.
Rectangle {
    id: root

    required property LibraryModel library

    signal removeRequested(var source)

    // Saved connections first, then the session-only ones.
    readonly property var allSources: library.sources.concat(library.temporarySources)
    readonly property bool activeIsTemporary: isTemporary(library.activeID)
    readonly property bool inPersonalList: library.selectedPersonalListID.length > 0

    function isTemporary(id) {
        return id.length > 0 && library.temporarySources.some(source => source.id === id)
    }

    color: Theme.panel

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.spacing
        anchors.topMargin: Theme.spacingHuge
        spacing: Theme.spacingSmall

        // Brand
        RowLayout {
            spacing: Theme.spacingSmall + 2
            Layout.leftMargin: Theme.spacingSmall
            Layout.bottomMargin: Theme.spacingLarge

            Icon {
                name: "play.tv.fill"
                size: Theme.brandIconSize
                color: Theme.mint
            }
            ColumnLayout {
                spacing: 1

                Label {
                    text: "Quenvo"
                    font.pixelSize: Theme.title2Size
                    font.weight: Font.Bold
                    color: Theme.primaryText
                }
                Label {
                    text: "EL TEU ESPAI DE TELEVISIÓ"
                    font.pixelSize: Theme.taglineSize
                    font.letterSpacing: Theme.wideLetterSpacing
                    color: Theme.secondaryText
                }
            }
        }

        // Sections
        SidebarButton {
            text: "TV en directe"
            iconName: "antenna.radiowaves.left.and.right"
            highlighted: root.library.section === "live" && !root.library.favoritesOnly && !root.inPersonalList
            Layout.fillWidth: true
            onClicked: root.library.selectSection("live")
        }
        SidebarButton {
            text: "Pel·lícules"
            iconName: "film"
            highlighted: root.library.section === "movies" && !root.library.favoritesOnly && !root.inPersonalList
            Layout.fillWidth: true
            onClicked: root.library.selectSection("movies")
        }
        SidebarButton {
            text: "Sèries"
            iconName: "tv"
            highlighted: root.library.section === "series" && !root.library.favoritesOnly && !root.inPersonalList
            Layout.fillWidth: true
            onClicked: root.library.selectSection("series")
        }
        SidebarButton {
            text: "Favorits"
            iconName: "star"
            highlighted: root.library.favoritesOnly && !root.inPersonalList
            Layout.fillWidth: true
            onClicked: root.library.showFavorites()
        }

        // Connections
        Label {
            text: "CONNEXIONS"
            font.pixelSize: Theme.captionSize
            font.weight: Font.DemiBold
            font.letterSpacing: Theme.wideLetterSpacing
            color: Theme.tertiaryText
            Layout.topMargin: Theme.spacingLarge
            Layout.leftMargin: Theme.spacingSmall
        }
        ListView {
            id: connectionList

            objectName: "connectionList"
            model: root.allSources
            clip: true
            spacing: 2
            boundsBehavior: Flickable.StopAtBounds
            Layout.fillWidth: true
            Layout.preferredHeight: Math.min(contentHeight, 44 * 5 + 8)
            ScrollBar.vertical: ScrollBar {}

            delegate: ConnectionRow {
                required property var modelData

                width: ListView.view.width
                source: modelData
                temporary: root.isTemporary(modelData.id)
                active: modelData.id === root.library.activeID
                onChosen: root.library.selectSource(modelData.id)
                onEditRequested: root.library.editSource(modelData.id)
                onRemoveRequested: root.removeRequested(modelData)
            }
        }
        SidebarButton {
            objectName: "sidebarAddSource"
            text: "Afegeix una llista"
            iconName: "plus.circle"
            Layout.fillWidth: true
            onClicked: root.library.addSource()
        }

        Rectangle {
            color: Theme.separator
            implicitHeight: 1
            Layout.fillWidth: true
            Layout.topMargin: Theme.spacingSmall
        }
        PersonalListsSidebar {
            objectName: "personalListsSidebar"
            library: root.library
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.topMargin: Theme.spacingTiny
        }

        // Where the connections are kept
        Rectangle {
            color: Theme.card
            radius: Theme.radiusLarge
            implicitHeight: storage.implicitHeight + 2 * Theme.spacing
            Layout.fillWidth: true

            RowLayout {
                id: storage

                anchors.fill: parent
                anchors.margins: Theme.spacing
                spacing: Theme.spacingSmall + 2

                Icon {
                    name: "lock.shield"
                    size: Theme.iconLarge
                    color: Theme.mint
                    Layout.alignment: Qt.AlignTop
                }
                ColumnLayout {
                    spacing: 2
                    Layout.fillWidth: true

                    Label {
                        objectName: "storageTitle"
                        text: root.activeIsTemporary ? "Sessió temporal" : "Desat al teu " + PlatformText.computer
                        font.pixelSize: Theme.calloutSize
                        font.weight: Font.DemiBold
                        color: Theme.primaryText
                    }
                    Label {
                        objectName: "storageNote"
                        text: root.activeIsTemporary
                              ? "Aquesta connexió es manté només en memòria."
                              : "Connexions protegides amb el " + PlatformText.keychain + "."
                        font.pixelSize: Theme.captionSize + 1
                        color: Theme.secondaryText
                        wrapMode: Text.Wrap
                        Layout.fillWidth: true
                    }
                }
            }
        }
        Label {
            objectName: "versionLine"
            text: PlatformText.versionLine
            font.family: Theme.monospaceFamily
            font.pixelSize: Theme.captionSize
            color: Theme.tertiaryText
            Layout.leftMargin: Theme.spacingSmall
            Layout.bottomMargin: Theme.spacingTiny
        }
    }
}
