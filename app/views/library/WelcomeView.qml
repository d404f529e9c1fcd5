import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// What the window shows before any connection exists.
Item {
    id: root

    signal addRequested()

    ColumnLayout {
        anchors.centerIn: parent
        width: Math.min(parent.width - 2 * Theme.spacingHuge, 680)
        spacing: Theme.spacingLarge

        Label {
            text: "Afegeix les teves fonts: l’aplicació no inclou canals."
            font.pixelSize: Theme.calloutSize
            color: Theme.secondaryText
            Layout.alignment: Qt.AlignHCenter
        }
        Rectangle {
            implicitWidth: 96
            implicitHeight: 96
            radius: width / 2
            color: Theme.mintTint
            border.width: 2
            border.color: Theme.mint
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: Theme.spacingSmall

            Icon {
                anchors.centerIn: parent
                name: "play.tv"
                size: 44
                color: Theme.mint
            }
        }
        Label {
            text: "La teva televisió. Al teu " + PlatformText.computer + "."
            font.pixelSize: Theme.largeTitleSize + 2
            font.weight: Font.Bold
            color: Theme.primaryText
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            Layout.fillWidth: true
        }
        Label {
            text: "Connecta una llista M3U o el teu servidor Xtream Codes\ni comença a veure els teus canals."
            font.pixelSize: Theme.title3Size
            color: Theme.secondaryText
            horizontalAlignment: Text.AlignHCenter
            lineHeight: 1.2
            Layout.fillWidth: true
        }
        MintButton {
            objectName: "welcomeAddSource"
            text: "Connecta la primera llista"
            iconName: "plus"
            font.pixelSize: Theme.title3Size
            leftPadding: 18
            rightPadding: 18
            topPadding: 10
            bottomPadding: 10
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: Theme.spacingSmall
            onClicked: root.addRequested()
        }
        RowLayout {
            spacing: Theme.spacingHuge
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: Theme.spacingLarge

            Repeater {
                model: [
                    { text: "M3U i Xtream", icon: "list.bullet.rectangle" },
                    { text: "Reproducció nativa", icon: "play.rectangle" },
                    { text: PlatformText.keychain, icon: "lock" }
                ]
                delegate: RowLayout {
                    required property var modelData

                    spacing: 6

                    Icon {
                        name: modelData.icon
                        size: Theme.iconSize
                        color: Theme.mint
                    }
                    Label {
                        text: modelData.text
                        font.pixelSize: Theme.calloutSize
                        color: Theme.secondaryText
                    }
                }
            }
        }
    }
}
