import QtQuick
import QtQuick.Controls
import Quenvo

// A quiet button beside a primary one: "Cancel·la", "Reintenta".
Button {
    id: root

    leftPadding: Theme.mintButtonHorizontalPadding
    rightPadding: Theme.mintButtonHorizontalPadding
    topPadding: Theme.mintButtonVerticalPadding - 2
    bottomPadding: Theme.mintButtonVerticalPadding - 2
    font.pixelSize: Theme.bodySize

    contentItem: Label {
        text: root.text
        font: root.font
        color: Theme.primaryText
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
    }
    background: Rectangle {
        implicitHeight: 30
        radius: Theme.radius
        color: root.down ? Theme.selection : root.hovered ? Qt.rgba(1, 1, 1, 0.09) : Theme.hover
        border.width: 1
        border.color: Theme.fieldBorder
    }
}
