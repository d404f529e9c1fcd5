import QtQuick
import QtQuick.Controls
import Quenvo

// A borderless button showing only a symbol, with a tooltip; its accessible name is the tooltip
// unless one is given.
//   IconButton { iconName: "arrow.clockwise"; toolTipText: "Actualitza la llista"; onClicked: … }
ToolButton {
    id: root

    property string iconName
    property color iconColor: Theme.secondaryText
    property int iconSize: Theme.iconSize
    property string toolTipText

    implicitWidth: 28
    implicitHeight: 28
    padding: 4
    focusPolicy: Qt.TabFocus
    Accessible.name: text.length > 0 ? text : toolTipText

    ToolTip.visible: hovered && toolTipText.length > 0
    ToolTip.delay: 600
    ToolTip.text: toolTipText

    contentItem: Item {
        Icon {
            anchors.centerIn: parent
            name: root.iconName
            size: root.iconSize
            color: root.hovered ? Theme.primaryText : root.iconColor
        }
    }

    background: Rectangle {
        radius: Theme.radiusSmall
        color: root.down ? Theme.selection : root.hovered ? Theme.hover : "transparent"
    }
}
