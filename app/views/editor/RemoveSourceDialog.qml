import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// Asks before a connection and its favourites are deleted.
//   dialog.ask(source)   // {id, name, …}; "Elimina «name»" calls library.remove(source.id)
Popup {
    id: root

    required property LibraryModel library
    property var source: undefined

    function ask(connection) {
        source = connection
        open()
    }

    objectName: "removeSourceDialog"
    modal: true
    focus: true
    anchors.centerIn: Overlay.overlay
    width: 400
    padding: Theme.spacingHuge
    closePolicy: Popup.CloseOnEscape
    onClosed: source = undefined

    Overlay.modal: Rectangle {
        color: Qt.rgba(0, 0, 0, 0.45)
    }
    background: Rectangle {
        color: Theme.panel
        radius: Theme.radiusLarge
        border.width: 1
        border.color: Theme.separator
    }

    contentItem: ColumnLayout {
        spacing: Theme.spacing

        Label {
            text: "Elimina aquesta llista?"
            font.pixelSize: Theme.title3Size
            font.weight: Font.Bold
            color: Theme.primaryText
        }
        Label {
            text: "S’eliminaran la connexió desada i els seus favorits d’aquest " + PlatformText.computer + "."
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
                objectName: "cancelRemoval"
                text: "Cancel·la"
                onClicked: root.close()
            }
            Button {
                id: confirmButton

                objectName: "confirmRemoval"
                text: "Elimina «" + (root.source !== undefined ? root.source.name : "") + "»"
                font.pixelSize: Theme.bodySize
                font.weight: Font.Medium
                leftPadding: Theme.mintButtonHorizontalPadding
                rightPadding: Theme.mintButtonHorizontalPadding
                onClicked: {
                    const id = root.source.id
                    root.close()
                    root.library.remove(id)
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
