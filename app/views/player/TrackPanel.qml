import QtQuick
import QtQuick.Controls
import Quenvo

// The pop-over panel of a track control (subtitles, audio): dark, 20 of padding, opening above the
// button that owns it and closing on Esc or a press elsewhere (a press on the button itself is left
// to the button, which toggles the panel).
Popup {
    id: root

    // The panel's content goes into this column (spacing 16).
    default property alias content: column.data

    padding: 20
    margins: 8
    x: parent ? parent.width - width : 0
    y: -height - 8
    closePolicy: Popup.CloseOnEscape | Popup.CloseOnPressOutsideParent
    // Esc reaches a popup only while it has the focus.
    focus: true
    contentHeight: column.implicitHeight

    // Controls inside (the picker and its list) draw dark.
    palette.window: Theme.panel
    palette.windowText: Theme.primaryText
    palette.base: Theme.appBackground
    palette.alternateBase: Theme.panel
    palette.text: Theme.primaryText
    palette.button: Qt.rgba(0.12, 0.15, 0.2, 1)
    palette.buttonText: Theme.primaryText
    palette.brightText: "white"
    palette.highlight: Theme.mint
    palette.highlightedText: Theme.textOnMint
    palette.light: Qt.rgba(0.2, 0.24, 0.3, 1)
    palette.midlight: Qt.rgba(0.16, 0.19, 0.25, 1)
    palette.mid: Qt.rgba(0.3, 0.34, 0.4, 1)
    palette.dark: Theme.mint
    palette.shadow: "black"
    palette.toolTipBase: Theme.panel
    palette.toolTipText: Theme.primaryText
    palette.placeholderText: Theme.tertiaryText

    background: Rectangle {
        color: Qt.rgba(0.05, 0.07, 0.1, 0.98)
        radius: Theme.radiusLarge
        border.color: Theme.separator
        border.width: 1
    }

    Column {
        id: column
        width: root.availableWidth
        spacing: 16
    }
}
