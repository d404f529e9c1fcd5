import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// The linked groups the last check could not reach, in orange, folded open or shut, with
// "Reintenta" to check again.
Rectangle {
    id: root

    property var failures: []
    property bool expanded: true

    signal retryRequested()

    radius: Theme.radius
    color: Theme.noticeBackground
    implicitHeight: column.implicitHeight + 2 * Theme.spacing

    ColumnLayout {
        id: column

        anchors.fill: parent
        anchors.margins: Theme.spacing
        spacing: Theme.spacingSmall

        RowLayout {
            spacing: Theme.spacingSmall
            Layout.fillWidth: true

            AbstractButton {
                id: toggle

                objectName: "failuresToggle"
                Accessible.role: Accessible.Button
                Accessible.name: "No s’han pogut comprovar algunes agrupacions"
                onClicked: root.expanded = !root.expanded
                Layout.fillWidth: true

                contentItem: RowLayout {
                    spacing: 6

                    Icon {
                        name: root.expanded ? "chevron.down" : "chevron.right"
                        size: Theme.iconSmall
                        color: Theme.warning
                    }
                    Icon {
                        name: "exclamationmark.triangle"
                        size: Theme.iconSmall + 2
                        color: Theme.warning
                    }
                    Label {
                        objectName: "failuresTitle"
                        text: "No s’han pogut comprovar algunes agrupacions"
                        font.pixelSize: Theme.calloutSize
                        font.weight: Font.DemiBold
                        color: Theme.warning
                        Layout.fillWidth: true
                    }
                }
                background: Item {}
            }
            SecondaryButton {
                objectName: "retryGroups"
                text: "Reintenta"
                onClicked: root.retryRequested()
            }
        }
        Repeater {
            model: root.expanded ? root.failures : []

            delegate: Label {
                required property string modelData

                objectName: "failureLine"
                text: modelData
                font.pixelSize: Theme.captionSize + 1
                color: Theme.warning
                wrapMode: Text.Wrap
                Layout.fillWidth: true
                Layout.leftMargin: Theme.spacingLarge + 4
            }
        }
    }
}
