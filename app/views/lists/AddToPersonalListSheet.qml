import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// The add sheet: chooses an existing personal list or names a new one, then adds the channels and
// groups a personal-list button was given.
//   sheet.show(content)
Sheet {
    id: root

    required property PersonalListsModel lists

    function show(content) {
        addition.content = content
        addition.prepare()
        open()
    }
    function confirm() {
        if (addition.canAdd && addition.add())
            close()
    }

    objectName: "addToPersonalListSheet"
    width: 500
    padding: 28
    onCancelRequested: close()
    onConfirmRequested: confirm()

    PersonalListAddition {
        id: addition

        lists: root.lists
    }

    contentItem: ColumnLayout {
        spacing: 20

        RowLayout {
            spacing: Theme.spacingSmall + 2

            Icon {
                name: "text.badge.plus"
                size: Theme.iconLarge
                color: Theme.mint
            }
            Label {
                text: "Afegeix a una llista personal"
                font.pixelSize: Theme.title2Size
                font.weight: Font.DemiBold
                color: Theme.primaryText
            }
        }
        Label {
            objectName: "addHeadline"
            text: addition.headline
            font.pixelSize: Theme.headlineSize
            font.weight: Theme.headlineWeight
            color: Theme.primaryText
            elide: Text.ElideRight
            Layout.fillWidth: true
        }
        DestinationFields {
            destination: addition
            Layout.fillWidth: true
        }
        Label {
            objectName: "folderNote"
            visible: text.length > 0
            text: addition.folderNote
            font.pixelSize: Theme.calloutSize
            color: Theme.secondaryText
            wrapMode: Text.Wrap
            Layout.fillWidth: true
        }
        Label {
            text: "El contingut original es manté a la connexió del proveïdor. El progrés i les marques de vist són compartits."
            font.pixelSize: Theme.calloutSize
            color: Theme.secondaryText
            wrapMode: Text.Wrap
            Layout.fillWidth: true
        }
        Label {
            objectName: "addError"
            visible: text.length > 0
            text: addition.error
            font.pixelSize: Theme.calloutSize
            color: Theme.warning
            wrapMode: Text.Wrap
            Layout.fillWidth: true
        }
        SheetButtons {
            confirmText: "Afegeix"
            confirmEnabled: addition.canAdd
            Layout.fillWidth: true
            onCancelled: root.close()
            onConfirmed: root.confirm()
        }
    }
}
