import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// The floating panel of the full-screen video: what plays and a way out, the timeline of a movie or
// episode, then play/pause, time, state, tracks and volume.
Rectangle {
    id: root

    required property LibraryModel library

    color: Qt.rgba(0, 0, 0, 0.8)
    radius: Theme.radiusLarge
    // A hairline keeps the panel's edge readable over the black bars around the picture.
    border.color: Qt.rgba(1, 1, 1, 0.08)
    border.width: 1
    clip: true

    // A press on the panel's empty parts stays on the panel (it must not pause the video beneath).
    MouseArea {
        anchors.fill: parent
        acceptedButtons: Qt.AllButtons
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 18
        spacing: 14

        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.spacing

            Label {
                Layout.fillWidth: true
                text: root.library.currentChannel ? root.library.currentChannel.name : "Reproducció"
                font.pixelSize: Theme.headlineSize
                font.weight: Theme.headlineWeight
                color: "white"
                elide: Text.ElideRight
                maximumLineCount: 1
            }
            PlayerButton {
                objectName: "leaveFullScreenButton"
                text: "Surt de pantalla completa"
                iconName: "arrow.down.right.and.arrow.up.left"
                toolTipText: "Esc · " + PlatformText.controlShortcut("F")
                Accessible.name: text
                onClicked: root.library.videoFullScreen = false
            }
        }

        Timeline {
            Layout.fillWidth: true
            visible: root.library.isOnDemand
            library: root.library
        }

        RowLayout {
            Layout.fillWidth: true
            spacing: 16

            PlayerButton {
                objectName: "fullScreenPlayPauseButton"
                iconName: root.library.isPlaying ? "pause.fill" : "play.fill"
                Accessible.name: root.library.isPlaying ? "Pausa" : "Reprodueix"
                onClicked: root.library.togglePlayback()
            }
            Label {
                text: root.library.elapsed
                font.pixelSize: Theme.bodySize
                font.family: Theme.monospaceFamily
                color: "white"
            }
            BusyIndicator {
                visible: root.library.waiting
                running: visible
                implicitWidth: 20
                implicitHeight: 20
                palette.dark: "white"
            }
            Label {
                Layout.fillWidth: true
                visible: root.library.playbackError.length > 0
                text: root.library.playbackError
                font.pixelSize: Theme.captionSize
                color: Theme.warning
                wrapMode: Text.WordWrap
                maximumLineCount: 2
                elide: Text.ElideRight
            }
            Item {
                Layout.fillWidth: true
                visible: root.library.playbackError.length === 0
            }
            AudioControls {
                library: root.library
            }
            SubtitleControls {
                objectName: "fullScreenSubtitleControls"
                library: root.library
            }
            Icon {
                name: "speaker.wave.2"
                color: "white"
            }
            PlayerSlider {
                Layout.preferredWidth: 130
                from: 0
                to: 100
                value: root.library.volume
                Accessible.name: "Volum"
                onMoved: root.library.volume = value
            }
        }
    }
}
