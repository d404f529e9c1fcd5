import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// A quiet button of the player's controls: a symbol, an optional label and a tooltip. Its accessible
// name is the label, else the tooltip, unless one is given.
//   PlayerButton { iconName: "stop.fill"; toolTipText: "Atura la reproducció"; onClicked: … }
Button {
    id: root

    property string iconName
    property string toolTipText
    property color tint: Theme.primaryText
    // Highlighted while something it opened is shown (a track panel).
    property bool active: false

    leftPadding: text.length > 0 ? 10 : 6
    rightPadding: text.length > 0 ? 10 : 6
    topPadding: 6
    bottomPadding: 6
    spacing: 6
    focusPolicy: Qt.TabFocus
    font.pixelSize: Theme.calloutSize
    Accessible.name: text.length > 0 ? text : toolTipText

    ToolTip.visible: hovered && toolTipText.length > 0
    ToolTip.delay: 600
    ToolTip.text: toolTipText

    contentItem: RowLayout {
        spacing: root.spacing
        opacity: root.enabled ? 1 : 0.35

        Icon {
            visible: root.iconName.length > 0
            name: root.iconName
            color: root.active ? Theme.mint : root.tint
            size: Theme.iconSize
            Layout.alignment: Qt.AlignVCenter
        }
        Label {
            visible: root.text.length > 0
            text: root.text
            font: root.font
            color: root.active ? Theme.mint : root.tint
            elide: Text.ElideRight
            Layout.alignment: Qt.AlignVCenter
            Layout.fillWidth: true
        }
    }

    background: Rectangle {
        implicitWidth: 28
        implicitHeight: 28
        radius: Theme.radiusSmall
        color: root.down ? Theme.selection
             : root.active ? Theme.mintTint
             : root.hovered && root.enabled ? Theme.hover : Theme.card
    }
}
