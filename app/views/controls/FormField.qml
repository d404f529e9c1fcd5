import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// A labelled text field of a form, with a rounded border.
ColumnLayout {
    id: root

    property string label
    property alias text: field.text
    property alias placeholderText: field.placeholderText
    property alias echoMode: field.echoMode
    property alias field: field

    spacing: Theme.spacingTiny + 2

    Label {
        text: root.label
        font.pixelSize: Theme.calloutSize
        font.weight: Font.Medium
        color: Theme.secondaryText
    }
    TextField {
        id: field

        Layout.fillWidth: true
        Accessible.name: root.label
        font.pixelSize: Theme.bodySize
        color: Theme.primaryText
        placeholderTextColor: Theme.tertiaryText
        selectionColor: Theme.mint
        selectedTextColor: Theme.textOnMint
        leftPadding: 10
        rightPadding: 10
        topPadding: 7
        bottomPadding: 7
        background: Rectangle {
            implicitHeight: 32
            radius: Theme.radiusSmall
            color: Theme.fieldBackground
            border.width: 1
            border.color: field.activeFocus ? Theme.mint : Theme.fieldBorder
        }
    }
}
