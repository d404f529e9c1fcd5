import QtQuick
import QtQuick.Controls
import Quenvo

// A choice among a few segments of equal width, the chosen one in mint. The title is the picker's
// accessible name; each segment reads its own text.
//   SegmentedPicker { title: "Tipus de favorits"; currentValue: library.favoriteSection
//                     model: [{value: "live", text: "TV en directe · 3"}, …]
//                     onActivated: value => library.favoriteSection = value }
// Segments are named "segment_<value>" for tests.
Rectangle {
    id: root

    property string title
    // {value, text} per segment, in order.
    property var model: []
    property string currentValue

    signal activated(string value)

    readonly property int segmentCount: Math.max(1, model.length)

    implicitWidth: 480
    implicitHeight: 32
    radius: Theme.radius
    color: Theme.fieldBackground
    border.width: 1
    border.color: Theme.fieldBorder
    Accessible.role: Accessible.PageTabList
    Accessible.name: title

    Row {
        anchors.fill: parent
        anchors.margins: 3
        spacing: 3

        Repeater {
            model: root.model

            delegate: AbstractButton {
                id: segment

                required property var modelData

                readonly property bool selected: modelData.value === root.currentValue

                objectName: "segment_" + modelData.value
                width: (parent.width - (root.segmentCount - 1) * parent.spacing) / root.segmentCount
                height: parent.height
                text: modelData.text
                hoverEnabled: true
                focusPolicy: Qt.TabFocus
                Accessible.role: Accessible.PageTab
                Accessible.name: text
                Accessible.selected: selected
                onClicked: {
                    if (!selected)
                        root.activated(modelData.value)
                }

                background: Rectangle {
                    radius: Theme.radiusSmall
                    color: segment.selected ? Theme.mintTint : segment.hovered ? Theme.hover : "transparent"
                    border.width: segment.selected || segment.visualFocus ? 1 : 0
                    border.color: Qt.rgba(Theme.mint.r, Theme.mint.g, Theme.mint.b, segment.visualFocus ? 0.9 : 0.35)
                }
                contentItem: Label {
                    text: segment.text
                    font.pixelSize: Theme.calloutSize
                    font.weight: segment.selected ? Font.DemiBold : Font.Normal
                    color: segment.selected ? Theme.mint : segment.hovered ? Theme.primaryText : Theme.secondaryText
                    horizontalAlignment: Text.AlignHCenter
                    verticalAlignment: Text.AlignVCenter
                    elide: Text.ElideRight
                }
            }
        }
    }
}
