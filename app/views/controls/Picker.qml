import QtQuick
import QtQuick.Controls
import Quenvo

// A drop-down choice in the window's style: the chosen entry in mint in the open list.
//   Picker { model: ["Totes les categories", …]; currentIndex: …; onActivated: index => … }
ComboBox {
    id: root

    font.pixelSize: Theme.bodySize
    leftPadding: 10
    background: Rectangle {
        implicitHeight: 32
        radius: Theme.radius
        color: root.pressed ? Theme.selection : Theme.fieldBackground
        border.width: 1
        border.color: root.activeFocus ? Theme.mint : Theme.fieldBorder
    }
    delegate: ItemDelegate {
        id: entry

        required property int index
        required property var modelData

        width: root.width - 8
        x: 4
        highlighted: root.highlightedIndex === index
        contentItem: Label {
            text: typeof entry.modelData === "object" && entry.modelData !== null
                  ? entry.modelData[root.textRole] : entry.modelData
            font.pixelSize: Theme.bodySize
            font.weight: root.currentIndex === entry.index ? Font.DemiBold : Font.Normal
            color: root.currentIndex === entry.index ? Theme.mint : Theme.primaryText
            elide: Text.ElideRight
            verticalAlignment: Text.AlignVCenter
        }
        background: Rectangle {
            radius: Theme.radiusSmall
            color: entry.highlighted ? Theme.hover : "transparent"
        }
    }
    popup.topPadding: 4
    popup.bottomPadding: 4
    popup.background: Rectangle {
        color: Qt.lighter(Theme.panel, 1.35)
        radius: Theme.radius
        border.width: 1
        border.color: Theme.separator
    }
}
