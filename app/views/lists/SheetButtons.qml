import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// The bottom row of a sheet: "Cancel·la" on the leading side, the confirming button on the
// trailing one.
RowLayout {
    id: root

    property string confirmText
    property bool confirmEnabled: true

    signal cancelled()
    signal confirmed()

    spacing: Theme.spacingSmall
    Layout.topMargin: Theme.spacingTiny

    SecondaryButton {
        objectName: "cancelButton"
        text: "Cancel·la"
        onClicked: root.cancelled()
    }
    Item { Layout.fillWidth: true }
    MintButton {
        objectName: "confirmButton"
        text: root.confirmText
        enabled: root.confirmEnabled
        onClicked: root.confirmed()
    }
}
