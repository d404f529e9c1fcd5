import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// Elapsed time, position and length of a movie or episode. While the handle is dragged the slider
// holds its own value instead of following playback, and the player is sought once, on release; a
// keyboard step seeks at once.
RowLayout {
    id: root

    required property LibraryModel library
    property bool dragging: false
    // The value held during a drag.
    property real position: 0

    spacing: 12

    Label {
        text: root.library.elapsed
        font.pixelSize: Theme.captionSize
        font.family: Theme.monospaceFamily
        color: Theme.primaryText
    }

    PlayerSlider {
        id: slider
        objectName: "timelineSlider"
        Layout.fillWidth: true
        from: 0
        to: 1
        enabled: root.library.seekable
        value: root.dragging ? root.position : root.library.playbackPosition
        Accessible.name: "Posició de reproducció"

        // A press starts a drag (a plain click too: the handle jumps on release, inside the drag).
        onPressedChanged: {
            if (pressed) {
                root.position = root.library.playbackPosition
                root.dragging = true
            } else if (root.dragging) {
                root.library.seek(root.position)
                root.dragging = false
            }
        }
        onMoved: {
            root.position = value
            if (!root.dragging)
                root.library.seek(value)
        }
    }

    Label {
        text: root.library.durationLabel
        font.pixelSize: Theme.captionSize
        font.family: Theme.monospaceFamily
        color: Theme.secondaryText
    }
}
