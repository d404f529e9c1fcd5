import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// Puts channels or provider groups into a personal list through the add sheet. Compact, it shows
// only its symbol; otherwise `title` beside it.
//   AddToPersonalListButton { lists: library.personalListsModel
//                             content: library.personalContentForChannelAt(index); title: "Afegeix a una llista…"; compact: true }
AbstractButton {
    id: root

    required property PersonalListsModel lists
    // A PersonalListContent, as the models hand it out.
    property var content
    property string title: "Afegeix a una llista…"
    property bool compact: false

    readonly property var described: lists.describe(content)

    enabled: !described.isEmpty
    hoverEnabled: true
    focusPolicy: Qt.TabFocus
    padding: compact ? 4 : 6
    Accessible.role: Accessible.Button
    Accessible.name: compact ? described.compactLabel : title
    ToolTip.visible: hovered
    ToolTip.delay: 600
    ToolTip.text: title
    onClicked: PersonalListSheets.addRequested(content)

    contentItem: RowLayout {
        spacing: 5
        opacity: root.enabled ? 1 : 0.45

        Icon {
            name: "text.badge.plus"
            size: root.compact ? Theme.iconSize : Theme.iconSmall + 1
            color: root.hovered ? Theme.primaryText : root.compact ? Theme.tertiaryText : Theme.mint
            Layout.alignment: Qt.AlignVCenter
        }
        Label {
            visible: !root.compact
            text: root.title
            font.pixelSize: Theme.captionSize + 1
            color: root.hovered ? Theme.primaryText : Theme.mint
            Layout.alignment: Qt.AlignVCenter
        }
    }
    background: Rectangle {
        implicitWidth: root.compact ? 28 : 0
        implicitHeight: 28
        radius: Theme.radiusSmall
        color: root.down ? Theme.selection : root.hovered ? Theme.hover : "transparent"
    }
}
