import QtQuick
import QtQuick.Controls
import Quenvo

// The application's one window: the library view, and the menu commands that act on the library.
ApplicationWindow {
    id: root

    required property LibraryModel library

    readonly property bool hasChannel: library.currentChannel !== undefined

    width: 1240
    height: 780
    minimumWidth: 1000
    minimumHeight: 650
    visible: true
    title: "Quenvo"
    color: Theme.appBackground

    // Dark throughout, with mint as the accent of every control.
    palette {
        window: Theme.appBackground
        windowText: Theme.primaryText
        base: Theme.panel
        alternateBase: Theme.appBackground
        text: Theme.primaryText
        button: Theme.panel
        buttonText: Theme.primaryText
        brightText: "white"
        highlight: Theme.mint
        highlightedText: Theme.textOnMint
        placeholderText: Theme.tertiaryText
        toolTipBase: Theme.panel
        toolTipText: Theme.primaryText
        link: Theme.mint
        light: Qt.lighter(Theme.panel, 1.6)
        midlight: Qt.lighter(Theme.panel, 1.3)
        mid: Qt.lighter(Theme.panel, 1.15)
        dark: Theme.appBackground
        shadow: "black"
    }

    onClosing: {
        library.cancelLoad()
        library.stop()
    }

    menuBar: MenuBar {
        Menu {
            title: "Fitxer"

            Action {
                objectName: "addSourceAction"
                text: "Afegeix una llista…"
                shortcut: "Ctrl+N"
                onTriggered: root.library.addSource()
            }
            Action {
                objectName: "refreshAction"
                text: "Actualitza"
                shortcut: "Ctrl+R"
                enabled: !root.library.isLoading
                onTriggered: root.library.refreshCurrentView()
            }
            MenuSeparator {}
            Action {
                text: "Surt"
                shortcut: StandardKey.Quit
                onTriggered: root.close()
            }
        }
        Menu {
            title: "Reproducció"

            Action {
                objectName: "togglePlaybackAction"
                text: "Reprodueix / pausa"
                shortcut: "Ctrl+P"
                enabled: root.hasChannel
                onTriggered: root.library.togglePlayback()
            }
            Action {
                objectName: "stopAction"
                text: "Atura"
                enabled: root.hasChannel
                onTriggered: root.library.stop()
            }
            Action {
                objectName: "fullScreenAction"
                text: root.library.videoFullScreen ? "Surt de pantalla completa" : "Vídeo a pantalla completa"
                // Control + the command key: Ctrl+Meta here, ⌃⌘ on macOS.
                shortcut: "Ctrl+Meta+F"
                enabled: root.hasChannel
                onTriggered: root.library.videoFullScreen = !root.library.videoFullScreen
            }
        }
    }

    LibraryView {
        anchors.fill: parent
        library: root.library
    }
}
