import QtQuick
import QtQuick.Controls
import Quenvo

// A modal sheet over the window: it closes through its own buttons, Escape asks to cancel and
// Return (or Enter) to confirm, never a click beside it.
//   Sheet { width: 500; onCancelRequested: close(); onConfirmRequested: …; contentItem: ColumnLayout { … } }
Popup {
    id: root

    signal cancelRequested()
    signal confirmRequested()

    modal: true
    focus: true
    anchors.centerIn: Overlay.overlay
    padding: 28
    closePolicy: Popup.NoAutoClose

    Shortcut {
        sequence: "Escape"
        enabled: root.visible
        onActivated: root.cancelRequested()
    }
    Shortcut {
        sequences: ["Return", "Enter"]
        enabled: root.visible
        onActivated: root.confirmRequested()
    }

    Overlay.modal: Rectangle {
        color: Qt.rgba(0, 0, 0, 0.45)
    }
    background: Rectangle {
        color: Theme.panel
        radius: Theme.radiusLarge
        border.width: 1
        border.color: Theme.separator
    }
}
