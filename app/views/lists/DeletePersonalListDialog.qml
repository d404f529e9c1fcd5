import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// Asks before a personal list goes. The provider's content, favourites and history stay.
Sheet {
    id: root

    signal confirmed()

    objectName: "deletePersonalListDialog"
    width: 420
    padding: Theme.spacingHuge
    onCancelRequested: close()
    onConfirmRequested: {
        close()
        root.confirmed()
    }

    contentItem: ColumnLayout {
        spacing: Theme.spacing

        Label {
            text: "Elimina aquesta llista personal?"
            font.pixelSize: Theme.title3Size
            font.weight: Font.Bold
            color: Theme.primaryText
        }
        Label {
            text: "S’eliminarà aquesta organització personal. El contingut del proveïdor, els favorits i l’historial es conservaran."
            font.pixelSize: Theme.bodySize
            color: Theme.secondaryText
            wrapMode: Text.Wrap
            Layout.fillWidth: true
        }
        RowLayout {
            spacing: Theme.spacingSmall
            Layout.topMargin: Theme.spacingSmall
            Layout.alignment: Qt.AlignRight

            SecondaryButton {
                objectName: "cancelDelete"
                text: "Cancel·la"
                onClicked: root.close()
            }
            Button {
                id: confirmButton

                objectName: "confirmDelete"
                text: "Elimina la llista"
                font.pixelSize: Theme.bodySize
                font.weight: Font.Medium
                leftPadding: Theme.mintButtonHorizontalPadding
                rightPadding: Theme.mintButtonHorizontalPadding
                onClicked: {
                    root.close()
                    root.confirmed()
                }
                contentItem: Label {
                    text: confirmButton.text
                    font: confirmButton.font
                    color: "white"
                    horizontalAlignment: Text.AlignHCenter
                    verticalAlignment: Text.AlignVCenter
                }
                background: Rectangle {
                    implicitHeight: 30
                    radius: Theme.radius
                    color: Theme.destructive
                    opacity: confirmButton.down ? Theme.mintButtonPressedOpacity : 1
                }
            }
        }
    }
}
