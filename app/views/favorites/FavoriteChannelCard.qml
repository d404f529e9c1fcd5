import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// A favourite channel in the favourites browser: choosing it leaves the favourites and plays it; the
// star takes it out of the favourites.
Rectangle {
    id: root

    required property int index
    required property string name
    required property string group

    signal playRequested(int index)
    signal removeRequested(int index)

    implicitWidth: 320
    implicitHeight: content.implicitHeight + 2 * 18
    radius: Theme.radiusLarge
    color: playButton.hovered ? Theme.hover : Theme.card
    border.width: playButton.visualFocus ? 2 : 0
    border.color: Theme.mint

    RowLayout {
        id: content

        anchors.fill: parent
        anchors.margins: 18
        spacing: Theme.spacing

        AbstractButton {
            id: playButton

            objectName: "favoriteChannelPlay"
            hoverEnabled: true
            focusPolicy: Qt.TabFocus
            Accessible.role: Accessible.Button
            Accessible.name: "Reprodueix canal: " + root.name
            Layout.fillWidth: true
            Layout.fillHeight: true
            onClicked: root.playRequested(root.index)

            contentItem: RowLayout {
                spacing: Theme.spacing

                Icon {
                    name: "play.tv.fill"
                    size: Theme.titleSize
                    color: Theme.mint
                }
                ColumnLayout {
                    spacing: 2
                    Layout.fillWidth: true

                    Label {
                        objectName: "favoriteChannelName"
                        text: root.name
                        font.pixelSize: Theme.headlineSize
                        font.weight: Theme.headlineWeight
                        color: Theme.primaryText
                        elide: Text.ElideRight
                        Layout.fillWidth: true
                    }
                    Label {
                        text: root.group
                        font.pixelSize: Theme.captionSize + 1
                        color: Theme.secondaryText
                        elide: Text.ElideRight
                        Layout.fillWidth: true
                    }
                }
            }
            background: Item {}
        }

        IconButton {
            objectName: "favoriteChannelRemove"
            iconName: "star.fill"
            iconColor: Theme.mint
            toolTipText: "Treu de favorits"
            Accessible.name: "Treu de favorits: " + root.name
            onClicked: root.removeRequested(root.index)
        }
    }
}
