import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// Where a title or an episode stands in the watch history: "Vist" once it is watched; "En curs ·
// 12:05 de 95 min" with a mint bar while it is under way (ten seconds at least of a known length);
// nothing otherwise. Hidden when it has nothing to say.
//   WatchProgressLabel { hasRecord: …; watched: …; seconds: …; duration: …; fraction: … }
ColumnLayout {
    id: root

    property bool hasRecord
    property bool watched
    property real seconds
    property real duration
    property real fraction

    readonly property bool inProgress: hasRecord && !watched && seconds >= 10 && duration > 0
    readonly property string progressText: inProgress ? progressLine(seconds, duration) : ""

    function progressLine(position, length) {
        const whole = Math.trunc(position)
        const minutes = Math.trunc(whole / 60)
        const rest = whole - minutes * 60
        const total = Math.trunc(Math.trunc(length) / 60)
        return "En curs · " + minutes + ":" + (rest < 10 ? "0" : "") + rest + " de " + total + " min"
    }

    visible: (hasRecord && watched) || inProgress
    spacing: Theme.spacingTiny

    RowLayout {
        objectName: "watchedLabel"
        visible: root.hasRecord && root.watched
        spacing: Theme.spacingTiny

        Icon {
            name: "checkmark.circle.fill"
            size: Theme.iconSmall
            color: Theme.mint
        }
        Label {
            text: "Vist"
            font.pixelSize: Theme.captionSize + 1
            font.weight: Font.DemiBold
            color: Theme.mint
        }
    }

    Label {
        objectName: "progressLabel"
        visible: root.inProgress
        text: root.progressText
        font.pixelSize: Theme.captionSize + 1
        color: Theme.secondaryText
    }
    // The share already seen, in mint on a faint track.
    Rectangle {
        objectName: "progressBar"
        visible: root.inProgress
        implicitHeight: 4
        radius: 2
        color: Theme.separator
        Layout.fillWidth: true
        Layout.maximumWidth: 220
        Layout.preferredWidth: 220

        Rectangle {
            width: parent.width * Math.max(0, Math.min(1, root.fraction))
            height: parent.height
            radius: parent.radius
            color: Theme.mint
        }
    }
}
