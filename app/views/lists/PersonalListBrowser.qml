import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// One personal list on screen: its channels, or its movie or series groups as folders, with a
// search, selection of several items, the list's options (rename, delete) and the groups that
// could not be checked at their providers. The window makes a fresh browser for every list.
Item {
    id: root

    required property LibraryModel library
    required property string listID

    readonly property PersonalListBrowserModel browser: browserModel

    PersonalListBrowserModel {
        id: browserModel

        library: root.library
        listID: root.listID
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.spacingHuge
        anchors.topMargin: 0
        spacing: Theme.spacingLarge

        RowLayout {
            spacing: Theme.spacing
            Layout.fillWidth: true

            SegmentedPicker {
                objectName: "listKindPicker"
                title: "Tipus de contingut"
                model: [
                    {value: "live", text: browserModel.kindLabels[0]},
                    {value: "movies", text: browserModel.kindLabels[1]},
                    {value: "series", text: browserModel.kindLabels[2]}
                ]
                currentValue: browserModel.kind
                onActivated: value => browserModel.kind = value
                Layout.fillWidth: true
                Layout.maximumWidth: 620
            }
            Item { Layout.fillWidth: true }
            IconButton {
                id: optionsButton

                objectName: "listOptions"
                iconName: "ellipsis"
                toolTipText: "Opcions"
                onClicked: optionsMenu.popup(optionsButton, 0, optionsButton.height)

                Menu {
                    id: optionsMenu

                    objectName: "listOptionsMenu"
                    MenuItem {
                        objectName: "renameList"
                        text: "Canvia el nom…"
                        onTriggered: PersonalListSheets.nameRequested(root.listID)
                    }
                    MenuItem {
                        objectName: "deleteList"
                        text: "Elimina la llista personal…"
                        onTriggered: deleteDialog.open()
                    }
                }
            }
        }
        Label {
            objectName: "listSubtitle"
            text: browserModel.subtitle
            font.pixelSize: Theme.calloutSize
            color: Theme.secondaryText
            Layout.topMargin: -Theme.spacingSmall
        }
        RowLayout {
            spacing: Theme.spacingSmall
            Layout.fillWidth: true

            SearchField {
                objectName: "listSearch"
                placeholderText: browserModel.searchPrompt
                text: browserModel.search
                onTextEdited: browserModel.search = text
                Layout.fillWidth: true
                Layout.maximumWidth: 480
            }
            SecondaryButton {
                objectName: "selectionModeButton"
                text: browserModel.selectionMode ? "Acaba la selecció" : "Selecciona"
                onClicked: browserModel.toggleSelectionMode()
            }
            Item { Layout.fillWidth: true }
        }
        RowLayout {
            objectName: "selectionRow"
            visible: browserModel.selectionMode
            spacing: Theme.spacing
            Layout.fillWidth: true

            LinkButton {
                objectName: "selectListResults"
                text: "Selecciona els resultats"
                iconName: "checklist"
                enabled: browserModel.visibleCount > 0
                onClicked: browserModel.selectVisible()
            }
            Label {
                objectName: "chosenCount"
                text: browserModel.chosenCount + " seleccionats"
                font.pixelSize: Theme.captionSize + 1
                color: Theme.secondaryText
            }
            AddToPersonalListButton {
                objectName: "addChosenToList"
                lists: root.library.personalListsModel
                content: browserModel.chosenContent
            }
            LinkButton {
                objectName: "removeChosen"
                text: "Treu de la llista"
                iconName: "minus.circle"
                enabled: browserModel.chosenCount > 0
                onClicked: browserModel.removeChosen()
            }
            Item { Layout.fillWidth: true }
        }
        RowLayout {
            objectName: "checkingGroups"
            visible: browserModel.loading
            spacing: Theme.spacingSmall

            BusyIndicator {
                running: parent.visible
                implicitWidth: 18
                implicitHeight: 18
            }
            Label {
                text: "Comprovant les agrupacions…"
                font.pixelSize: Theme.captionSize + 1
                color: Theme.secondaryText
            }
        }
        PersonalListFailures {
            objectName: "listFailures"
            visible: browserModel.failures.length > 0
            failures: browserModel.failures
            Layout.fillWidth: true
            onRetryRequested: browserModel.retry()
        }

        Item {
            Layout.fillWidth: true
            Layout.fillHeight: true

            EmptyStatePanel {
                objectName: "listEmptyState"
                anchors.fill: parent
                visible: browserModel.emptyTitle.length > 0
                iconName: "folder.badge.plus"
                title: browserModel.emptyTitle
                description: browserModel.emptyDescription
            }
            AdaptiveGrid {
                id: grid

                objectName: "listGrid"
                anchors.fill: parent
                anchors.rightMargin: -columnSpacing
                bottomMargin: 20
                visible: browserModel.visibleCount > 0
                minimumColumnWidth: 260
                maximumColumnWidth: 420
                rowHeight: browserModel.kind === "live" ? 170 : 160
                model: browserModel.items

                delegate: PersonalListCard {
                    width: grid.columnWidth
                    height: grid.rowHeight
                    selectionMode: browserModel.selectionMode
                    symbol: browserModel.kind === "series" ? "tv" : "film"
                    lists: root.library.personalListsModel
                    onOpenRequested: index => browserModel.openAt(index)
                    onRemoveRequested: index => browserModel.removeAt(index)
                    onSelectedToggled: (index, chosen) => browserModel.setSelectedAt(index, chosen)
                }
            }
        }
    }

    DeletePersonalListDialog {
        id: deleteDialog

        onConfirmed: browserModel.deleteList()
    }
}
