import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// Picks several provider groups of the active connection at once: for live TV every channel of the
// chosen groups goes into a personal list; movie and series groups are linked as folders.
//   sheet.showLiveGroups()   sheet.showCatalogGroups()
Sheet {
    id: root

    required property LibraryModel library

    function showLiveGroups() {
        selection.offerLiveGroups(root.library)
        show()
    }
    function showCatalogGroups() {
        selection.offerCatalogGroups(root.library.catalog)
        show()
    }
    function show() {
        selection.prepare()
        searchField.text = ""
        open()
    }
    function confirm() {
        if (selection.canAdd && selection.add())
            close()
    }

    objectName: "groupSelectionSheet"
    width: 620
    // At least 640 high; taller when the content needs it, never taller than the window.
    height: Math.min(Math.max(640, implicitHeight), Overlay.overlay ? Overlay.overlay.height - 2 * Theme.spacing : 640)
    padding: Theme.spacingHuge
    onCancelRequested: close()
    onConfirmRequested: confirm()

    PersonalGroupSelection {
        id: selection

        lists: root.library.personalListsModel
        search: searchField.text
    }

    contentItem: ColumnLayout {
        spacing: Theme.spacingLarge

        RowLayout {
            spacing: Theme.spacingSmall + 2

            Icon {
                name: "checklist"
                size: Theme.iconLarge
                color: Theme.mint
            }
            Label {
                objectName: "groupSheetTitle"
                text: selection.title
                font.pixelSize: Theme.title2Size
                font.weight: Font.DemiBold
                color: Theme.primaryText
            }
        }
        Label {
            text: selection.explanation
            font.pixelSize: Theme.bodySize
            color: Theme.secondaryText
            wrapMode: Text.Wrap
            Layout.fillWidth: true
        }
        SearchField {
            id: searchField

            objectName: "groupSearch"
            placeholderText: "Cerca agrupacions"
            Layout.fillWidth: true
        }
        RowLayout {
            spacing: Theme.spacingSmall
            Layout.fillWidth: true

            SecondaryButton {
                objectName: "selectVisibleGroups"
                text: "Selecciona els resultats"
                enabled: selection.visibleCount > 0
                onClicked: selection.selectVisible()
            }
            SecondaryButton {
                objectName: "deselectAllGroups"
                text: "Desmarca-les totes"
                enabled: selection.chosenCount > 0
                onClicked: selection.deselectAll()
            }
            Item { Layout.fillWidth: true }
            Label {
                objectName: "visibleGroupCount"
                text: selection.visibleCount + " de " + selection.availableCount
                font.pixelSize: Theme.captionSize + 1
                color: Theme.secondaryText
            }
        }
        Rectangle {
            color: Theme.card
            radius: Theme.radius
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.minimumHeight: 220
            Layout.preferredHeight: 240

            ListView {
                id: groupList

                objectName: "groupList"
                anchors.fill: parent
                anchors.margins: Theme.spacingTiny
                model: selection.groups
                clip: true
                spacing: 2
                reuseItems: true
                boundsBehavior: Flickable.StopAtBounds
                ScrollBar.vertical: ScrollBar {}

                delegate: CheckDelegate {
                    id: groupRow

                    required property int index
                    required property string name
                    required property bool selected

                    objectName: "groupRow"
                    width: ListView.view.width
                    padding: 10
                    text: name
                    checked: selected
                    Accessible.name: "Selecciona agrupació: " + name
                    onToggled: selection.setSelected(index, checked)
                    contentItem: Label {
                        text: groupRow.name
                        font.pixelSize: Theme.bodySize
                        color: Theme.primaryText
                        elide: Text.ElideRight
                        leftPadding: groupRow.indicator.width + Theme.spacingSmall
                        verticalAlignment: Text.AlignVCenter
                    }
                    indicator: Rectangle {
                        x: groupRow.leftPadding
                        anchors.verticalCenter: parent.verticalCenter
                        implicitWidth: 16
                        implicitHeight: 16
                        radius: 4
                        color: groupRow.checked ? Theme.mint : "transparent"
                        border.width: groupRow.checked ? 0 : 1
                        border.color: Theme.fieldBorder

                        Icon {
                            anchors.centerIn: parent
                            visible: groupRow.checked
                            name: "checkmark"
                            size: 12
                            color: Theme.textOnMint
                        }
                    }
                    background: Rectangle {
                        radius: Theme.radius
                        color: groupRow.checked ? Theme.mintTint : groupRow.hovered ? Theme.hover : "transparent"
                    }
                }
            }
            Label {
                objectName: "noGroupMatches"
                anchors.centerIn: parent
                visible: selection.visibleCount === 0
                text: "Cap agrupació coincideix amb la cerca."
                font.pixelSize: Theme.bodySize
                color: Theme.secondaryText
            }
        }
        Rectangle {
            color: Theme.separator
            implicitHeight: 1
            Layout.fillWidth: true
        }
        Label {
            objectName: "groupSummary"
            text: selection.summary
            font.pixelSize: Theme.headlineSize
            font.weight: Theme.headlineWeight
            color: Theme.primaryText
        }
        Label {
            objectName: "hiddenSelectionNote"
            visible: selection.selectionHidden
            text: "La selecció inclou agrupacions que no es veuen amb la cerca actual."
            font.pixelSize: Theme.captionSize + 1
            color: Theme.secondaryText
            wrapMode: Text.Wrap
            Layout.fillWidth: true
        }
        DestinationFields {
            destination: selection
            namePrompt: "Anglès"
            Layout.fillWidth: true
        }
        Label {
            objectName: "groupError"
            visible: text.length > 0
            text: selection.error
            font.pixelSize: Theme.calloutSize
            color: Theme.warning
            wrapMode: Text.Wrap
            Layout.fillWidth: true
        }
        SheetButtons {
            confirmText: "Afegeix les agrupacions (" + selection.chosenCount + ")"
            confirmEnabled: selection.canAdd
            Layout.fillWidth: true
            onCancelled: root.close()
            onConfirmed: root.confirm()
        }
    }
}
