import QtQuick
import QtQuick.Controls
import Quenvo

// The player's slider: a thin track filled in mint up to a round white handle.
Slider {
    id: root

    implicitHeight: 20
    padding: 0
    focusPolicy: Qt.TabFocus

    background: Rectangle {
        x: root.leftPadding
        y: root.topPadding + (root.availableHeight - height) / 2
        implicitWidth: 130
        implicitHeight: 4
        width: root.availableWidth
        height: implicitHeight
        radius: 2
        color: Theme.fieldBorder
        opacity: root.enabled ? 1 : 0.5

        Rectangle {
            width: root.visualPosition * parent.width
            height: parent.height
            radius: 2
            color: root.enabled ? Theme.mint : Theme.tertiaryText
        }
    }

    handle: Rectangle {
        x: root.leftPadding + root.visualPosition * (root.availableWidth - width)
        y: root.topPadding + (root.availableHeight - height) / 2
        implicitWidth: 14
        implicitHeight: 14
        radius: 7
        visible: root.enabled
        color: root.pressed ? "#d8d8d8" : "white"
        border.color: root.visualFocus ? Theme.mint : "transparent"
        border.width: 2
    }
}
