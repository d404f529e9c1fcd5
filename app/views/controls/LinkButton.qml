import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// A plain button of caption-sized mint text with a symbol before it: "Crea una llista personal",
// "Afegeix diverses agrupacions…".
AbstractButton {
    id: root

    property string iconName

    hoverEnabled: true
    focusPolicy: Qt.TabFocus
    padding: Theme.spacingTiny
    Accessible.role: Accessible.Button
    Accessible.name: text

    contentItem: RowLayout {
        spacing: 5
        opacity: root.enabled ? 1 : 0.45

        Icon {
            visible: root.iconName.length > 0
            name: root.iconName
            size: Theme.iconSmall + 1
            color: Theme.mint
        }
        Label {
            text: root.text
            font.pixelSize: Theme.captionSize + 1
            color: root.hovered ? Theme.primaryText : Theme.mint
        }
    }
    background: Item {}
}
