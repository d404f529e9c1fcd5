import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// One provider category in the category column; the selected one is highlighted.
AbstractButton {
    id: root

    required property int index
    required property string categoryID
    required property string name
    property bool selected

    signal chosen(int index)

    objectName: "categoryRow"
    implicitHeight: 32
    hoverEnabled: true
    focusPolicy: Qt.TabFocus
    leftPadding: Theme.spacingSmall + 2
    rightPadding: Theme.spacingSmall
    text: name
    Accessible.role: Accessible.Button
    Accessible.name: name
    onClicked: root.chosen(index)

    // "Afegeix a una llista…" (this category, as kind:id, into a personal list) goes in this row's
    // context menu.

    contentItem: Label {
        text: root.name
        font.pixelSize: Theme.bodySize
        font.weight: root.selected ? Font.DemiBold : Font.Normal
        color: root.selected ? Theme.primaryText : Qt.rgba(1, 1, 1, 0.75)
        elide: Text.ElideRight
        verticalAlignment: Text.AlignVCenter
    }
    background: Rectangle {
        radius: Theme.radius
        color: root.selected ? Theme.mintTint : root.hovered ? Theme.hover : "transparent"

        Rectangle {
            visible: root.selected
            anchors.left: parent.left
            anchors.verticalCenter: parent.verticalCenter
            width: 3
            height: parent.height - 12
            radius: 1.5
            color: Theme.mint
        }
    }
}
