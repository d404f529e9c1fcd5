import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// The primary button: black medium-weight label (half transparent when disabled) with an optional
// icon, on a mint rounded rectangle that dims while pressed.
//   MintButton { text: "Afegeix llista"; iconName: "plus"; onClicked: … }
Button {
    id: root

    property string iconName

    leftPadding: Theme.mintButtonHorizontalPadding
    rightPadding: Theme.mintButtonHorizontalPadding
    topPadding: Theme.mintButtonVerticalPadding
    bottomPadding: Theme.mintButtonVerticalPadding
    spacing: 6
    font.pixelSize: Theme.bodySize
    font.weight: Font.Medium

    contentItem: RowLayout {
        spacing: root.spacing
        opacity: root.enabled ? 1 : Theme.mintButtonDisabledTextOpacity

        Icon {
            visible: root.iconName.length > 0
            name: root.iconName
            color: Theme.textOnMint
            size: Math.round(root.font.pixelSize * 1.1)
            Layout.alignment: Qt.AlignVCenter
        }
        Label {
            text: root.text
            font: root.font
            color: Theme.textOnMint
            elide: Text.ElideRight
            Layout.alignment: Qt.AlignVCenter
            Layout.fillWidth: true
        }
    }

    background: Rectangle {
        implicitHeight: 30
        radius: Theme.radius
        color: Theme.mint
        opacity: root.down ? Theme.mintButtonPressedOpacity : 1
    }
}
