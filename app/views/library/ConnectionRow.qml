import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// A connection in the sidebar: its name and what it is, highlighted when active, with a menu to edit
// or remove it.
Item {
    id: root

    required property var source          // {id, name, kind, address, username, password}
    required property bool temporary
    required property bool active

    signal chosen()
    signal editRequested()
    signal removeRequested()

    implicitHeight: 44

    AbstractButton {
        id: rowButton

        anchors.fill: parent
        Accessible.role: Accessible.Button
        Accessible.name: root.source.name
        onClicked: root.chosen()

        background: Rectangle {
            radius: Theme.radius
            color: root.active ? Theme.mintTint : rowButton.hovered ? Theme.hover : "transparent"
        }
        contentItem: ColumnLayout {
            spacing: 1

            Label {
                text: root.source.name
                font.pixelSize: Theme.bodySize
                font.weight: root.active ? Font.DemiBold : Font.Normal
                color: Theme.primaryText
                elide: Text.ElideRight
                Layout.fillWidth: true
                Layout.rightMargin: optionsButton.width + 2
            }
            Label {
                objectName: "connectionCaption"
                text: root.temporary ? "Sessió temporal" : root.source.kind === "xtream" ? "Xtream Codes" : "M3U"
                font.pixelSize: Theme.captionSize
                color: root.active ? Theme.mint : Theme.secondaryText
                Layout.fillWidth: true
            }
        }
        leftPadding: Theme.spacingSmall + 2
        rightPadding: Theme.spacingSmall
        topPadding: 5
        bottomPadding: 5
    }

    IconButton {
        id: optionsButton

        objectName: "connectionOptions"
        anchors.right: parent.right
        anchors.rightMargin: 4
        anchors.verticalCenter: parent.verticalCenter
        iconName: "ellipsis"
        iconSize: Theme.iconSmall
        Accessible.name: "Opcions de " + root.source.name
        opacity: rowButton.hovered || hovered || root.active || menu.visible ? 1 : 0.45
        onClicked: menu.popup(optionsButton, 0, optionsButton.height)

        Menu {
            id: menu

            objectName: "connectionMenu"
            width: 200
            padding: 4

            background: Rectangle {
                implicitWidth: 200
                color: Qt.lighter(Theme.panel, 1.35)
                radius: Theme.radius
                border.width: 1
                border.color: Theme.separator
            }

            MenuItem {
                objectName: "editConnectionItem"
                text: "Edita la connexió"
                onTriggered: root.editRequested()
            }
            MenuItem {
                id: removeItem

                objectName: "removeConnectionItem"
                text: "Elimina"
                onTriggered: root.removeRequested()
                contentItem: Label {
                    text: removeItem.text
                    font: removeItem.font
                    color: Theme.destructive
                    verticalAlignment: Text.AlignVCenter
                }
            }
        }
    }
}
