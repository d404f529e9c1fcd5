import QtQuick
import Quenvo

// The picture of the current player on black, its aspect ratio kept. A click on it pauses or resumes.
Rectangle {
    id: root

    required property LibraryModel library
    // False while the full-screen window shows the player: one surface receiving pictures is enough.
    property bool showsPicture: true
    readonly property alias surface: surface

    color: Theme.videoBackground

    VideoSurface {
        id: surface
        objectName: "videoSurface"
        anchors.fill: parent
        player: root.showsPicture ? root.library.player : null
    }

    MouseArea {
        anchors.fill: parent
        acceptedButtons: Qt.LeftButton
        onPressed: root.library.togglePlayback()
    }
}
