import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// A channel of the list: plays it when chosen; the star marks it as a favourite.
Item {
    id: root

    required property int index
    required property string name
    required property string group
    required property string channelID
    required property bool favorite
    required property bool playing
    // What "Afegeix a una llista…" adds for this row (a PersonalListContent).
    property var personalContent
    property PersonalListsModel personalLists

    signal playRequested(int index)
    signal favoriteToggled(int index)

    implicitHeight: 48

    AbstractButton {
        id: playButton

        objectName: "channelPlayButton"
        anchors.fill: parent
        Accessible.role: Accessible.Button
        Accessible.name: root.name
        leftPadding: Theme.spacing
        rightPadding: starButton.width + addButton.width + Theme.spacing
        onClicked: root.playRequested(root.index)

        // The row's menu: a right click, or the context-menu key.
        TapHandler {
            acceptedButtons: Qt.RightButton
            onTapped: rowMenu.popup()
        }
        Keys.onMenuPressed: rowMenu.popup()

        background: Rectangle {
            radius: Theme.radius
            color: root.playing ? Theme.mintTint : playButton.hovered ? Theme.hover : "transparent"
        }
        contentItem: RowLayout {
            spacing: Theme.spacing

            Icon {
                name: root.playing ? "waveform" : "play.fill"
                size: Theme.iconSmall + 2
                color: root.playing ? Theme.mint : Theme.secondaryText
                Layout.preferredWidth: Theme.iconLarge
            }
            ColumnLayout {
                spacing: 1
                Layout.fillWidth: true

                Label {
                    text: root.name
                    font.pixelSize: Theme.bodySize
                    font.weight: root.playing ? Font.DemiBold : Font.Normal
                    color: Theme.primaryText
                    elide: Text.ElideRight
                    Layout.fillWidth: true
                }
                Label {
                    text: root.group
                    visible: text.length > 0
                    font.pixelSize: Theme.captionSize + 1
                    color: Theme.secondaryText
                    elide: Text.ElideRight
                    Layout.fillWidth: true
                }
            }
        }
    }

    AddToPersonalListButton {
        id: addButton

        objectName: "channelAddToList"
        anchors.right: starButton.left
        anchors.verticalCenter: parent.verticalCenter
        lists: root.personalLists
        content: root.personalContent
        compact: true
    }
    Menu {
        id: rowMenu

        objectName: "channelMenu"
        MenuItem {
            objectName: "channelMenuAddToList"
            text: "Afegeix a una llista…"
            onTriggered: PersonalListSheets.addRequested(root.personalContent)
        }
    }

    IconButton {
        id: starButton

        objectName: "channelStarButton"
        anchors.right: parent.right
        anchors.rightMargin: Theme.spacingSmall
        anchors.verticalCenter: parent.verticalCenter
        iconName: root.favorite ? "star.fill" : "star"
        iconColor: root.favorite ? Theme.mint : Theme.tertiaryText
        toolTipText: root.favorite ? "Treu de favorits" : "Afegeix a favorits"
        Accessible.name: toolTipText + ": " + root.name
        onClicked: root.favoriteToggled(root.index)
    }
}
