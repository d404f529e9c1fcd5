import QtQuick
import QtQuick.Controls
import Quenvo

// An on/off switch with a mint track when on.
Switch {
    id: root

    spacing: Theme.spacingSmall + 2
    font.pixelSize: Theme.bodySize

    indicator: Rectangle {
        x: root.leftPadding
        y: (root.height - height) / 2
        implicitWidth: 36
        implicitHeight: 20
        radius: height / 2
        color: root.checked ? Theme.mint : Theme.fieldBackground
        border.width: root.checked ? 0 : 1
        border.color: Theme.fieldBorder

        Rectangle {
            x: root.checked ? parent.width - width - 2 : 2
            y: 2
            width: 16
            height: 16
            radius: 8
            color: root.checked ? Theme.textOnMint : Theme.secondaryText

            Behavior on x {
                NumberAnimation { duration: 120 }
            }
        }
    }
    contentItem: Label {
        leftPadding: root.indicator.width + root.spacing
        text: root.text
        font: root.font
        color: Theme.primaryText
        verticalAlignment: Text.AlignVCenter
    }
}
