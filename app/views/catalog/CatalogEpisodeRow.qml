import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// One episode of the season shown: its picture, number and title, plot, length and progress; the
// row plays it, the button beside it marks it watched.
RowLayout {
    id: root

    required property LibraryModel library
    required property string episodeID
    required property var number
    required property string title
    required property string plot
    required property string duration
    required property url image
    required property string watchKey
    required property bool hasRecord
    required property bool watched
    required property real progressSeconds
    required property real progressDuration
    required property real progressFraction

    objectName: "episodeRow"
    spacing: Theme.spacingSmall

    AbstractButton {
        id: playButton

        objectName: "episodePlayButton"
        hoverEnabled: true
        focusPolicy: Qt.TabFocus
        padding: Theme.spacingSmall + 2
        Accessible.role: Accessible.Button
        Accessible.name: "Reprodueix episodi " + root.number + ": " + root.title
        Layout.fillWidth: true
        onClicked: root.library.playEpisode(root.episodeID)

        background: Rectangle {
            radius: Theme.radiusLarge
            color: playButton.down ? Theme.selection : playButton.hovered ? Theme.hover : Theme.card
        }
        contentItem: RowLayout {
            spacing: Theme.spacing

            CatalogPoster {
                url: root.image.toString()
                title: root.title
                symbol: "play.rectangle"
                backdrop: Theme.panel
                Layout.preferredWidth: 128
                Layout.preferredHeight: 72
                Layout.alignment: Qt.AlignTop
            }
            ColumnLayout {
                spacing: 3
                Layout.fillWidth: true
                Layout.alignment: Qt.AlignTop

                Label {
                    objectName: "episodeTitle"
                    text: root.number + ". " + root.title
                    font.pixelSize: Theme.bodySize
                    font.weight: Font.DemiBold
                    color: Theme.primaryText
                    elide: Text.ElideRight
                    Layout.fillWidth: true
                }
                Label {
                    visible: root.plot.length > 0
                    text: root.plot
                    font.pixelSize: Theme.calloutSize
                    color: Theme.secondaryText
                    wrapMode: Text.Wrap
                    maximumLineCount: 2
                    elide: Text.ElideRight
                    Layout.fillWidth: true
                }
                Label {
                    visible: root.duration.length > 0
                    text: root.duration
                    font.pixelSize: Theme.captionSize + 1
                    color: Theme.tertiaryText
                }
                WatchProgressLabel {
                    objectName: "episodeProgress"
                    hasRecord: root.hasRecord
                    watched: root.watched
                    seconds: root.progressSeconds
                    duration: root.progressDuration
                    fraction: root.progressFraction
                    Layout.fillWidth: true
                }
            }
        }
    }
    WatchedButton {
        objectName: "episodeWatchedButton"
        catalog: root.library.catalog
        key: root.watchKey
        title: "episodi " + root.number
        watched: root.watched
        // As wide for either label, so that the rows keep one width.
        Layout.preferredWidth: 136
        Layout.alignment: Qt.AlignVCenter
    }
}
