import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// The live channels of the active connection: search, category, count and the rows. Rows are
// created only for what is on screen, so a list of 100,000 channels scrolls like a short one.
Rectangle {
    id: root

    required property LibraryModel library

    readonly property int count: library.filteredChannels.count
    readonly property string playingID: library.currentChannel !== undefined ? library.currentChannel.id : ""
    // The names of `categories`, in its order; the picker puts "Totes les categories" before them.
    property var categoryNames: []
    // Rows show checkboxes; the chosen channels go into a personal list together.
    property bool selectionMode: false

    color: Theme.panel
    radius: Theme.radiusLarge

    Instantiator {
        id: categoryReader

        model: root.library.categories
        delegate: QtObject {
            required property string name
        }
        onObjectAdded: namesChanged.restart()
        onObjectRemoved: namesChanged.restart()
    }
    // Reads the names once per batch of changes rather than once per category.
    Timer {
        id: namesChanged

        interval: 0
        onTriggered: {
            const names = []
            for (let i = 0; i < categoryReader.count; ++i)
                names.push(categoryReader.objectAt(i).name)
            root.categoryNames = names
        }
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.spacing
        spacing: Theme.spacingSmall + 2

        SearchField {
            objectName: "searchField"
            placeholderText: "Cerca un canal"
            text: root.library.search
            onTextEdited: root.library.search = text
            Layout.fillWidth: true
        }

        Picker {
            id: categoryPicker

            objectName: "categoryPicker"
            Accessible.name: "Categoria"
            model: ["Totes les categories"].concat(root.categoryNames)
            currentIndex: root.library.category === undefined ? 0 : root.categoryNames.indexOf(root.library.category) + 1
            onActivated: index => root.library.category = index === 0 ? undefined : root.categoryNames[index - 1]
            Layout.fillWidth: true
        }

        RowLayout {
            spacing: Theme.spacingSmall
            Layout.topMargin: Theme.spacingTiny
            Layout.fillWidth: true

            Label {
                objectName: "channelCount"
                text: root.count === 1 ? "1 CANAL" : root.count + " CANALS"
                font.pixelSize: Theme.captionSize
                font.weight: Font.DemiBold
                font.letterSpacing: Theme.wideLetterSpacing
                color: Theme.tertiaryText
                Layout.leftMargin: Theme.spacingTiny
                Layout.fillWidth: true
            }
            LinkButton {
                objectName: "channelSelectionMode"
                text: root.selectionMode ? "Acaba" : "Selecciona"
                enabled: root.library.channelCount > 0 || root.selectionMode
                onClicked: root.selectionMode = !root.selectionMode
            }
        }
        LinkButton {
            objectName: "addSeveralGroups"
            text: "Afegeix diverses agrupacions…"
            iconName: "checklist"
            enabled: root.library.channelCount > 0
            onClicked: PersonalListSheets.groupsRequested("live")
        }
        // Selection mode: choose every channel shown, and add the chosen ones (or the whole
        // category) to a personal list.
        Flow {
            objectName: "channelSelectionRow"
            visible: root.selectionMode
            spacing: Theme.spacing
            Layout.fillWidth: true

            LinkButton {
                objectName: "selectChannelResults"
                text: "Selecciona els resultats"
                enabled: root.count > 0
                onClicked: root.library.filteredChannels.selectFiltered()
            }
            LinkButton {
                objectName: "addSelectedChannels"
                text: "Afegeix seleccionats (" + root.library.filteredChannels.selectedCount + ")"
                iconName: "text.badge.plus"
                enabled: root.library.filteredChannels.selectedCount > 0
                onClicked: PersonalListSheets.addRequested(root.library.personalContentForSelectedChannels())
            }
            LinkButton {
                objectName: "addCategoryChannels"
                visible: root.library.category !== undefined
                text: "Afegeix els canals de la categoria…"
                iconName: "text.badge.plus"
                onClicked: PersonalListSheets.addRequested(root.library.personalContentForCategoryChannels())
            }
        }

        Item {
            Layout.fillWidth: true
            Layout.fillHeight: true

            ListView {
                id: channelView

                objectName: "channelView"
                anchors.fill: parent
                model: root.library.filteredChannels
                reuseItems: true
                clip: true
                spacing: 2
                boundsBehavior: Flickable.StopAtBounds
                ScrollBar.vertical: ScrollBar {}

                delegate: ChannelRow {
                    width: ListView.view.width
                    playing: channelID === root.playingID
                    personalLists: root.library.personalListsModel
                    selectionMode: root.selectionMode
                    onSelectedToggled: (index, chosen) => root.library.filteredChannels.setSelectedAt(index, chosen)
                    personalContent: root.library.personalContentForChannelAt(index)
                    onPlayRequested: index => root.library.playAt(index)
                    onFavoriteToggled: index => root.library.toggleFavoriteAt(index)
                }
            }

            // Nothing to list: the first channels are on their way (or the saved connections are still
            // being read), or the filters leave nothing.
            ColumnLayout {
                objectName: "loadingChannels"
                anchors.centerIn: parent
                visible: root.count === 0 && (root.library.isLoading || root.library.readingConnections)
                spacing: Theme.spacingSmall

                BusyIndicator {
                    running: parent.visible
                    Layout.alignment: Qt.AlignHCenter
                }
                Label {
                    text: "Carregant canals…"
                    color: Theme.secondaryText
                    font.pixelSize: Theme.bodySize
                    Layout.alignment: Qt.AlignHCenter
                }
            }
            ColumnLayout {
                objectName: "noChannels"
                anchors.centerIn: parent
                width: parent.width - 2 * Theme.spacing
                visible: root.count === 0 && !root.library.isLoading && !root.library.readingConnections
                spacing: Theme.spacingSmall

                Icon {
                    name: "tv"
                    size: 32
                    color: Theme.tertiaryText
                    Layout.alignment: Qt.AlignHCenter
                }
                Label {
                    text: "Cap canal"
                    color: Theme.primaryText
                    font.pixelSize: Theme.title3Size
                    font.weight: Font.DemiBold
                    Layout.alignment: Qt.AlignHCenter
                }
                Label {
                    text: "Prova una altra cerca o categoria."
                    color: Theme.secondaryText
                    font.pixelSize: Theme.calloutSize
                    horizontalAlignment: Text.AlignHCenter
                    wrapMode: Text.Wrap
                    Layout.fillWidth: true
                }
            }
        }
    }
}
