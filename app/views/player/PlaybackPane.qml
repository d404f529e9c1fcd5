import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// The playback pane of the main window: a header with full screen and stop, the video stage with
// its waiting and error overlays (or the idle texts when nothing plays), then the timeline of a
// movie or episode, the transport and track controls, the playback state and the keyboard hint.
// Full screen shows the same player in a window of its own while `videoFullScreen` is set.
Rectangle {
    id: pane

    required property LibraryModel library
    // How long the full-screen panel stays after the last sign of the user.
    property int fullScreenHideDelay: 3000
    readonly property bool hasCurrent: pane.library.currentChannel !== undefined
    // The full-screen window while it is shown, else null.
    readonly property var fullScreenWindow: fullScreen.item

    color: Theme.panel
    radius: Theme.radiusLarge

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.spacingLarge
        spacing: Theme.spacing

        // Header
        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.spacingSmall

            Icon {
                name: "play.rectangle"
                size: Theme.iconSmall + 2
                color: Theme.mint
            }
            Label {
                Layout.fillWidth: true
                text: "REPRODUCTOR"
                font.pixelSize: Theme.captionSize
                font.weight: Font.DemiBold
                font.letterSpacing: Theme.wideLetterSpacing
                color: Theme.secondaryText
            }
            PlayerButton {
                objectName: "fullScreenButton"
                text: "Pantalla completa"
                iconName: "arrow.up.left.and.arrow.down.right"
                toolTipText: "Només el vídeo · " + PlatformText.controlShortcut("F") + " · Esc per sortir"
                Accessible.name: text
                enabled: pane.library.currentChannel !== undefined
                onClicked: pane.library.videoFullScreen = true
            }
            PlayerButton {
                objectName: "stopButton"
                iconName: "stop.fill"
                toolTipText: "Atura la reproducció"
                onClicked: pane.library.stop()
            }
        }

        // The stage, or what to do when nothing plays.
        Item {
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.minimumHeight: 180

            VideoStage {
                id: stage
                objectName: "videoStage"
                anchors.fill: parent
                visible: pane.hasCurrent
                showsPicture: !pane.library.videoFullScreen
                library: pane.library
            }

            BusyIndicator {
                objectName: "waitingIndicator"
                anchors.centerIn: parent
                visible: pane.hasCurrent && pane.library.waiting
                running: visible
                palette.dark: Theme.mint
            }

            Rectangle {
                objectName: "playbackErrorOverlay"
                anchors.fill: parent
                visible: pane.hasCurrent && pane.library.playbackError.length > 0
                color: Qt.rgba(0, 0, 0, 0.72)

                // The overlay takes the clicks meant for the picture under it.
                MouseArea {
                    anchors.fill: parent
                }

                ColumnLayout {
                    anchors.centerIn: parent
                    width: Math.min(parent.width - 2 * Theme.spacingHuge, 420)
                    spacing: Theme.spacing

                    Icon {
                        Layout.alignment: Qt.AlignHCenter
                        name: "exclamationmark.triangle"
                        size: 32
                        color: Theme.warning
                    }
                    Label {
                        objectName: "playbackErrorText"
                        Layout.fillWidth: true
                        text: pane.library.playbackError
                        horizontalAlignment: Text.AlignHCenter
                        wrapMode: Text.WordWrap
                        font.pixelSize: Theme.bodySize
                        color: Theme.primaryText
                    }
                    MintButton {
                        objectName: "retryButton"
                        Layout.alignment: Qt.AlignHCenter
                        text: "Torna-ho a provar"
                        iconName: "arrow.clockwise"
                        Accessible.name: text
                        onClicked: pane.library.retryPlayback()
                    }
                }
            }

            ColumnLayout {
                objectName: "idleView"
                anchors.centerIn: parent
                width: Math.min(parent.width - 2 * Theme.spacingHuge, 380)
                visible: !pane.hasCurrent
                spacing: Theme.spacing

                Icon {
                    Layout.alignment: Qt.AlignHCenter
                    name: "play.circle"
                    size: Theme.emptyStateIconSize
                    color: Theme.secondaryText
                    opacity: 0.7
                }
                Label {
                    Layout.fillWidth: true
                    text: "Tria un canal per començar"
                    horizontalAlignment: Text.AlignHCenter
                    wrapMode: Text.WordWrap
                    font.pixelSize: Theme.title3Size
                    font.weight: Font.DemiBold
                    color: Theme.primaryText
                }
                Label {
                    Layout.fillWidth: true
                    text: "A punt quan tu ho estiguis."
                    horizontalAlignment: Text.AlignHCenter
                    wrapMode: Text.WordWrap
                    font.pixelSize: Theme.bodySize
                    color: Theme.secondaryText
                }
                Label {
                    Layout.fillWidth: true
                    text: "Reproducció HLS i MPEG-TS. Tria un canal i controla el volum, la pausa i la pantalla completa."
                    horizontalAlignment: Text.AlignHCenter
                    wrapMode: Text.WordWrap
                    font.pixelSize: Theme.calloutSize
                    color: Theme.tertiaryText
                }
            }
        }

        Timeline {
            Layout.fillWidth: true
            visible: pane.library.isOnDemand
            library: pane.library
        }

        // Transport, volume and tracks.
        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.spacing

            PlayerButton {
                objectName: "nextEpisodeButton"
                visible: pane.library.nextEpisode !== undefined
                text: visible ? "Següent episodi · T" + pane.library.nextEpisode.season + " E"
                                + pane.library.nextEpisode.number : ""
                iconName: "forward.end.fill"
                tint: Theme.mint
                onClicked: pane.library.playNextEpisode()
            }
            PlayerButton {
                objectName: "playPauseButton"
                iconName: pane.library.isPlaying ? "pause.fill" : "play.fill"
                Accessible.name: pane.library.isPlaying ? "Pausa" : "Reprodueix"
                enabled: pane.hasCurrent
                onClicked: pane.library.togglePlayback()
            }
            Label {
                Layout.fillWidth: true
                text: pane.hasCurrent ? pane.library.currentChannel.name : ""
                font.pixelSize: Theme.bodySize
                font.weight: Font.Medium
                color: Theme.primaryText
                elide: Text.ElideRight
            }
            Icon {
                name: "speaker.wave.2"
                color: Theme.secondaryText
            }
            PlayerSlider {
                objectName: "volumeSlider"
                Layout.preferredWidth: 110
                from: 0
                to: 100
                value: pane.library.volume
                Accessible.name: "Volum"
                onMoved: pane.library.volume = value
            }
            AudioControls {
                objectName: "audioControls"
                library: pane.library
            }
            SubtitleControls {
                objectName: "subtitleControls"
                library: pane.library
            }
        }

        PlaybackStatus {
            Layout.fillWidth: true
            library: pane.library
        }

        ProgrammeSchedule {
            Layout.fillWidth: true
            guide: pane.library.guide
            visible: pane.hasCurrent && !pane.library.isOnDemand
                     && (entries.length > 0 || guide.note.length > 0)
        }

        Rectangle {
            Layout.fillWidth: true
            implicitHeight: 1
            color: Theme.separator
        }

        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.spacingSmall

            Icon {
                name: "keyboard"
                size: Theme.iconSmall + 2
                color: Theme.tertiaryText
            }
            Label {
                Layout.fillWidth: true
                text: PlatformText.shortcut("N") + "  Afegeix llista     " + PlatformText.shortcut("R")
                      + "  Actualitza     " + PlatformText.shortcut("P") + "  Reprodueix / pausa"
                font.pixelSize: Theme.captionSize + 1
                color: Theme.tertiaryText
                elide: Text.ElideRight
            }
        }
    }

    Loader {
        id: fullScreen
        active: pane.library.videoFullScreen
        sourceComponent: FullScreenVideo {
            library: pane.library
            mainWindow: pane.Window.window
            hideDelay: pane.fullScreenHideDelay
            screen: pane.Window.window ? pane.Window.window.screen : Qt.application.screens[0]
        }
    }
}
