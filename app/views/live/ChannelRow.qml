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
    required property bool selected
    // From the list and the programme guide: empty when unknown.
    required property string logo
    required property string nowTitle
    required property real nowProgress
    property bool selectionMode: false
    // What "Afegeix a una llista…" adds for this row (a PersonalListContent).
    property var personalContent
    property PersonalListsModel personalLists

    signal playRequested(int index)
    signal favoriteToggled(int index)
    signal selectedToggled(int index, bool chosen)

    implicitHeight: 52

    AbstractButton {
        id: playButton

        objectName: "channelPlayButton"
        anchors.fill: parent
        Accessible.role: Accessible.Button
        Accessible.name: root.name
        leftPadding: Theme.spacing + (root.selectionMode ? selectBox.width + Theme.spacingSmall : 0)
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

            ChannelLogo {
                url: root.logo
                name: root.name
                Layout.preferredWidth: 36
                Layout.preferredHeight: 36

                // What plays, over the logo's corner.
                Rectangle {
                    visible: root.playing
                    anchors.right: parent.right
                    anchors.bottom: parent.bottom
                    anchors.margins: -3
                    width: 16
                    height: 16
                    radius: 8
                    color: Theme.mint

                    Icon {
                        anchors.centerIn: parent
                        name: "waveform"
                        size: 10
                        color: Theme.textOnMint
                    }
                }
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
                // The programme on now, when the guide knows it; the group otherwise.
                Label {
                    objectName: "channelNowTitle"
                    text: root.nowTitle.length > 0 ? root.nowTitle : root.group
                    visible: text.length > 0
                    font.pixelSize: Theme.captionSize + 1
                    color: root.nowTitle.length > 0 ? Theme.primaryText : Theme.secondaryText
                    opacity: root.nowTitle.length > 0 ? 0.8 : 1
                    elide: Text.ElideRight
                    Layout.fillWidth: true
                }
                Rectangle {
                    visible: root.nowTitle.length > 0
                    color: Theme.separator
                    radius: 1
                    Layout.fillWidth: true
                    Layout.maximumWidth: 140
                    Layout.preferredHeight: 2

                    Rectangle {
                        width: parent.width * Math.max(0, Math.min(1, root.nowProgress))
                        height: parent.height
                        radius: 1
                        color: Theme.mint
                    }
                }
            }
        }
    }

    CheckBox {
        id: selectBox

        objectName: "channelCheckbox"
        visible: root.selectionMode
        anchors.left: parent.left
        anchors.leftMargin: Theme.spacingSmall
        anchors.verticalCenter: parent.verticalCenter
        padding: 0
        checked: root.selected
        Accessible.name: "Selecciona " + root.name
        onToggled: root.selectedToggled(root.index, checked)
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
