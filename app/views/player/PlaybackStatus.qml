import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// The collapsible "Estat de la reproducció": the player's own counts for the stream (pictures shown,
// sound played…), for when something looks wrong.
ColumnLayout {
    id: root

    required property LibraryModel library
    property bool expanded: false

    spacing: Theme.spacingSmall

    Button {
        id: toggle
        objectName: "playbackStatusToggle"
        Layout.fillWidth: true
        flat: true
        padding: 4
        text: "Estat de la reproducció"
        Accessible.name: text
        onClicked: root.expanded = !root.expanded

        contentItem: RowLayout {
            spacing: 6
            Icon {
                name: "chevron.right"
                size: Theme.iconSmall
                color: Theme.secondaryText
                rotation: root.expanded ? 90 : 0
                Behavior on rotation { NumberAnimation { duration: 120 } }
            }
            Label {
                Layout.fillWidth: true
                text: toggle.text
                font.pixelSize: Theme.calloutSize
                color: toggle.hovered ? Theme.primaryText : Theme.secondaryText
            }
        }
        background: Item {}
    }

    TextEdit {
        objectName: "playbackStatusText"
        Layout.fillWidth: true
        Layout.leftMargin: 22
        visible: root.expanded
        readOnly: true
        selectByMouse: true
        text: root.library.diagnostics
        wrapMode: TextEdit.Wrap
        font.pixelSize: Theme.captionSize + 1
        font.family: Theme.monospaceFamily
        color: Theme.secondaryText
        selectionColor: Theme.mint
        selectedTextColor: Theme.textOnMint
    }
}
