import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// A way back within the catalogue ("Torna als títols", "Torna al catàleg"): a chevron and the text,
// plain until the pointer is over it.
AbstractButton {
    id: root

    hoverEnabled: true
    focusPolicy: Qt.TabFocus
    leftPadding: 6
    rightPadding: Theme.spacingSmall + 2
    topPadding: 5
    bottomPadding: 5
    Accessible.role: Accessible.Button
    Accessible.name: text

    contentItem: RowLayout {
        spacing: Theme.spacingTiny

        Icon {
            name: "chevron.left"
            size: Theme.iconSmall + 2
            color: Theme.mint
        }
        Label {
            text: root.text
            font.pixelSize: Theme.bodySize
            font.weight: Font.Medium
            color: root.hovered ? Theme.primaryText : Theme.mint
        }
    }
    background: Rectangle {
        radius: Theme.radius
        color: root.down ? Theme.selection : root.hovered ? Theme.hover : "transparent"
    }
}
