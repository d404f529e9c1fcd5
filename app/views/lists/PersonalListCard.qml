import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// An item of a personal list: a channel, which plays through its connection, or a linked group,
// a folder that opens the provider's category. Below it the connection's name, the compact
// add-to-list control and the button that takes the item out of this list.
Rectangle {
    id: root

    required property int index
    required property string itemID
    required property string name
    required property string sourceName
    required property bool isGroup
    required property bool selected
    required property var content
    property bool selectionMode
    property string symbol: "film"
    required property PersonalListsModel lists

    signal openRequested(int index)
    signal removeRequested(int index)
    signal selectedToggled(int index, bool chosen)

    objectName: isGroup ? "listGroupCard" : "listChannelCard"
    radius: Theme.radiusLarge
    color: root.selected && root.selectionMode ? Theme.mintTint : Theme.card

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.spacingLarge
        spacing: 10

        CheckBox {
            objectName: "cardCheckbox"
            visible: root.selectionMode
            checked: root.selected
            text: "Selecciona " + root.name
            font.pixelSize: Theme.captionSize + 1
            padding: 0
            Accessible.name: text
            onToggled: root.selectedToggled(root.index, checked)
        }
        AbstractButton {
            id: openButton

            objectName: "cardOpenButton"
            hoverEnabled: true
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.minimumHeight: root.isGroup ? 44 : 70
            Accessible.role: Accessible.Button
            Accessible.name: root.isGroup ? "Obre l’agrupació: " + root.name : root.name
            onClicked: root.openRequested(root.index)

            contentItem: RowLayout {
                spacing: Theme.spacing

                Icon {
                    name: root.isGroup ? "folder.fill" : "play.tv.fill"
                    size: root.isGroup ? 36 : Theme.iconLarge
                    color: Theme.mint
                }
                ColumnLayout {
                    spacing: 3
                    Layout.fillWidth: true

                    Label {
                        objectName: "cardName"
                        text: root.name
                        font.pixelSize: Theme.headlineSize
                        font.weight: Theme.headlineWeight
                        color: openButton.hovered ? Theme.mint : Theme.primaryText
                        wrapMode: Text.Wrap
                        maximumLineCount: 2
                        elide: Text.ElideRight
                        Layout.fillWidth: true
                    }
                    RowLayout {
                        visible: root.isGroup
                        spacing: 4

                        Icon {
                            name: root.symbol
                            size: Theme.iconSmall
                            color: Theme.mint
                        }
                        Label {
                            text: "Obre l’agrupació"
                            font.pixelSize: Theme.captionSize + 1
                            color: Theme.mint
                        }
                    }
                }
                Icon {
                    visible: root.isGroup
                    name: "chevron.right"
                    size: Theme.iconSize
                    color: Theme.secondaryText
                }
            }
            background: Item {}
        }
        Label {
            objectName: "cardSource"
            text: root.sourceName
            font.pixelSize: Theme.captionSize + 1
            color: Theme.secondaryText
            elide: Text.ElideRight
            Layout.fillWidth: true
        }
        RowLayout {
            spacing: Theme.spacingSmall
            Layout.fillWidth: true

            AddToPersonalListButton {
                objectName: "cardAddToList"
                lists: root.lists
                content: root.content
                compact: true
            }
            Item { Layout.fillWidth: true }
            IconButton {
                objectName: "cardRemove"
                iconName: "minus.circle"
                toolTipText: root.isGroup ? "Treu l’agrupació d’aquesta llista" : "Treu d’aquesta llista"
                Accessible.name: (root.isGroup ? "Treu l’agrupació: " : "Treu de la llista: ") + root.name
                onClicked: root.removeRequested(root.index)
            }
        }
    }
}
