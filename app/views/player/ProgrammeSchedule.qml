import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// What is on the channel being played: the programme on now with its description and progress,
// then the rest of today, times in the user's time zone. A guide that cannot be had shows a quiet
// note instead; a channel the guide does not know shows nothing.
ColumnLayout {
    id: root

    required property ProgrammeGuide guide

    readonly property var entries: guide ? guide.currentSchedule : []

    spacing: Theme.spacingSmall
    visible: entries.length > 0 || (guide !== null && guide.note.length > 0)

    Label {
        objectName: "guideNote"
        visible: root.entries.length === 0 && root.guide !== null && root.guide.note.length > 0
        text: root.guide ? root.guide.note : ""
        font.pixelSize: Theme.captionSize + 1
        color: Theme.tertiaryText
        Layout.fillWidth: true
        elide: Text.ElideRight
    }

    ListView {
        id: schedule

        objectName: "programmeSchedule"
        Layout.fillWidth: true
        Layout.preferredHeight: Math.min(contentHeight, 168)
        visible: root.entries.length > 0
        clip: true
        spacing: 2
        boundsBehavior: Flickable.StopAtBounds
        model: root.entries
        ScrollBar.vertical: ScrollBar { policy: schedule.contentHeight > schedule.height ? ScrollBar.AsNeeded : ScrollBar.AlwaysOff }

        delegate: Rectangle {
            id: entry

            required property var modelData
            required property int index

            width: ListView.view.width - 8
            implicitHeight: column.implicitHeight + 10
            radius: Theme.radius
            color: modelData.now ? Theme.mintTint : "transparent"

            ColumnLayout {
                id: column

                anchors.left: parent.left
                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                anchors.leftMargin: Theme.spacingSmall
                anchors.rightMargin: Theme.spacingSmall
                spacing: 2

                RowLayout {
                    spacing: Theme.spacingSmall
                    Layout.fillWidth: true

                    Label {
                        text: entry.modelData.start
                        font.pixelSize: Theme.captionSize + 1
                        font.family: "monospace"
                        color: entry.modelData.now ? Theme.mint : Theme.secondaryText
                    }
                    Label {
                        objectName: "programmeTitle"
                        text: entry.modelData.title
                        font.pixelSize: Theme.captionSize + 2
                        font.weight: entry.modelData.now ? Font.DemiBold : Font.Normal
                        color: Theme.primaryText
                        elide: Text.ElideRight
                        Layout.fillWidth: true
                    }
                    Label {
                        text: entry.modelData.now ? "Ara · fins a les " + entry.modelData.stop
                              : entry.index === 1 ? "Després" : ""
                        visible: text.length > 0
                        font.pixelSize: Theme.captionSize
                        color: entry.modelData.now ? Theme.mint : Theme.tertiaryText
                    }
                }
                Label {
                    visible: entry.modelData.now && entry.modelData.description.length > 0
                    text: entry.modelData.description
                    wrapMode: Text.WordWrap
                    maximumLineCount: 2
                    elide: Text.ElideRight
                    font.pixelSize: Theme.captionSize + 1
                    color: Theme.secondaryText
                    Layout.fillWidth: true
                }
                Rectangle {
                    visible: entry.modelData.now
                    color: Theme.separator
                    radius: 1
                    Layout.fillWidth: true
                    Layout.preferredHeight: 3

                    Rectangle {
                        width: parent.width * Math.max(0, Math.min(1, entry.modelData.progress))
                        height: parent.height
                        radius: 1
                        color: Theme.mint
                    }
                }
            }
        }
    }
}
