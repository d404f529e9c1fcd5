import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// A plain sidebar entry: symbol and title, highlighted when it is the current one.
AbstractButton {
    id: root

    property string iconName
    property bool highlighted: false

    implicitHeight: 32
    leftPadding: Theme.spacingSmall + 2
    rightPadding: Theme.spacingSmall
    Accessible.role: Accessible.Button
    Accessible.name: text

    contentItem: RowLayout {
        spacing: Theme.spacingSmall + 2

        Icon {
            name: root.iconName
            size: Theme.iconSize
            color: root.highlighted ? Theme.mint : Theme.secondaryText
            Layout.preferredWidth: Theme.iconLarge
        }
        Label {
            text: root.text
            font.pixelSize: Theme.bodySize
            font.weight: root.highlighted ? Font.DemiBold : Font.Normal
            color: root.highlighted ? Theme.primaryText : Qt.rgba(1, 1, 1, 0.75)
            elide: Text.ElideRight
            Layout.fillWidth: true
        }
    }

    background: Rectangle {
        radius: Theme.radius
        color: root.highlighted ? Theme.mintTint : root.hovered ? Theme.hover : "transparent"
    }
}
