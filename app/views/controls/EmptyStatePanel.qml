import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// What a pane shows when it has nothing to list: a symbol, a title, a sentence and, when
// `actionText` is set, one button.
//   EmptyStatePanel { iconName: "star"; title: "Encara no tens favorits aquí"; description: "…" }
Item {
    id: root

    property string iconName
    property string title
    property string description
    property string actionText
    readonly property alias actionButton: action

    signal actionTriggered()

    implicitWidth: 360
    implicitHeight: content.implicitHeight

    ColumnLayout {
        id: content

        anchors.centerIn: parent
        width: Math.min(parent.width - 2 * Theme.spacingHuge, 420)
        spacing: Theme.spacingSmall

        Icon {
            name: root.iconName
            size: Theme.emptyStateIconSize - 8
            color: Theme.tertiaryText
            visible: root.iconName.length > 0
            Layout.alignment: Qt.AlignHCenter
            Layout.bottomMargin: Theme.spacingTiny
        }
        Label {
            objectName: "emptyStateTitle"
            text: root.title
            font.pixelSize: Theme.title3Size
            font.weight: Font.DemiBold
            color: Theme.primaryText
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            Layout.fillWidth: true
        }
        Label {
            objectName: "emptyStateDescription"
            text: root.description
            visible: text.length > 0
            font.pixelSize: Theme.calloutSize
            color: Theme.secondaryText
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            lineHeight: 1.15
            Layout.fillWidth: true
        }
        SecondaryButton {
            id: action

            objectName: "emptyStateAction"
            text: root.actionText
            visible: root.actionText.length > 0
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: Theme.spacingSmall
            onClicked: root.actionTriggered()
        }
    }
}
