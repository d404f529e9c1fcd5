import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// The model's last message, over the content, with "Reintenta".
Rectangle {
    id: root

    required property LibraryModel library

    visible: library.notice.length > 0
    color: Theme.noticeBackground
    radius: Theme.radius
    implicitHeight: row.implicitHeight + 28

    RowLayout {
        id: row

        anchors.fill: parent
        anchors.margins: 14
        spacing: Theme.spacing

        Icon {
            name: "exclamationmark.circle.fill"
            color: Theme.warning
            size: Theme.iconLarge
        }
        TextEdit {
            objectName: "noticeText"
            text: root.library.notice
            readOnly: true
            selectByMouse: true
            wrapMode: Text.Wrap
            color: Theme.primaryText
            selectionColor: Theme.mint
            selectedTextColor: Theme.textOnMint
            font.pixelSize: Theme.bodySize
            Layout.fillWidth: true
        }
        SecondaryButton {
            objectName: "retryButton"
            text: "Reintenta"
            font.pixelSize: Theme.calloutSize
            onClicked: root.library.retry()
        }
    }
}
