import QtQuick
import QtQuick.Window
import Quenvo

// The video alone, full screen: a borderless full-screen window showing the same player as the
// main window, with a floating control panel that hides itself after a few seconds of playback
// unless the pointer rests on it or a track panel is open. A click on the picture pauses or
// resumes; Space does too, and Esc or Ctrl+Meta+F (⌃⌘F on macOS) leave full screen.
Window {
    id: root

    required property LibraryModel library
    // The main window, whose menu commands stay at hand while this window has the focus.
    property Window mainWindow
    // How long the panel stays after the last sign of the user.
    property int hideDelay: 3000
    readonly property alias controls: controls
    readonly property alias surface: surface

    function showControls() {
        controls.visible = true
        hideTimer.restart()
    }

    function leave() {
        hideTimer.stop()
        controls.visible = false
        root.library.videoFullScreen = false
    }

    flags: Qt.Window | Qt.FramelessWindowHint
    color: Theme.videoBackground
    title: root.library.currentChannel ? root.library.currentChannel.name : "Reproducció"

    Component.onCompleted: {
        // Cover the screen even where no window manager applies the full-screen state.
        x = screen.virtualX
        y = screen.virtualY
        width = screen.width
        height = screen.height
        showFullScreen()
        requestActivate()
        showControls()
    }
    // The window manager closed it (another way out of full screen).
    onClosing: root.library.videoFullScreen = false

    Timer {
        id: hideTimer
        interval: root.hideDelay
        onTriggered: {
            const keep = panelHover.hovered || !root.library.isPlaying || root.library.subtitleControlsOpen
                || root.library.audioControlsOpen
            if (keep)
                root.showControls()
            else
                controls.visible = false
        }
    }

    // With a track panel open, Esc is the panel's (it has the focus): it closes the panel, and the
    // next Esc leaves.
    Shortcut {
        sequence: "Esc"
        onActivated: root.leave()
    }
    // The main window's menu commands, as its menu offers them; those that open something there
    // leave full screen first.
    Shortcut {
        objectName: "fullScreenTogglePlayback"
        sequence: "Ctrl+P"
        onActivated: root.library.togglePlayback()
    }
    Shortcut {
        sequence: "Ctrl+R"
        enabled: !root.library.isLoading
        onActivated: root.library.refreshCurrentView()
    }
    Shortcut {
        sequence: "Ctrl+N"
        onActivated: {
            root.leave()
            root.library.addSource()
        }
    }
    Shortcut {
        sequence: StandardKey.Quit
        onActivated: {
            root.leave()
            if (root.mainWindow)
                root.mainWindow.close()
        }
    }
    Shortcut {
        sequence: "Ctrl+Meta+F"
        onActivated: root.leave()
    }
    // Space with or without Shift and Alt; only the command key (Ctrl here, ⌘ on macOS) leaves it alone.
    Shortcut {
        sequences: ["Space", "Shift+Space", "Alt+Space", "Shift+Alt+Space"]
        onActivated: {
            root.library.togglePlayback()
            root.showControls()
        }
    }

    VideoSurface {
        id: surface
        objectName: "fullScreenVideoSurface"
        anchors.fill: parent
        player: root.library.player
    }

    // Under the panel: presses on the picture pause or resume (a press on the visible panel stays
    // on the panel), and any movement brings the panel back.
    MouseArea {
        anchors.fill: parent
        acceptedButtons: Qt.LeftButton
        hoverEnabled: true
        onPressed: {
            root.library.togglePlayback()
            root.showControls()
        }
        onPositionChanged: root.showControls()
    }

    FullScreenControls {
        id: controls
        objectName: "fullScreenControls"
        library: root.library
        width: Math.max(0, Math.min(780, root.width - 48))
        height: root.library.isOnDemand ? 158 : 124
        x: (root.width - width) / 2
        y: root.height - 24 - height

        HoverHandler {
            id: panelHover
        }
    }
}
