import QtQuick
import QtQuick.Controls
import Quenvo

// The audio control: a button opening a panel to pick the audio track. While the panel is open the
// model knows it (the full-screen controls stay on screen for it); going in or out of full screen
// closes it.
PlayerButton {
    id: root

    required property LibraryModel library
    property bool presented: false

    text: "Àudio"
    iconName: "waveform"
    toolTipText: "Idiomes i pistes d’àudio disponibles en aquest vídeo"
    active: presented
    onClicked: presented = !presented

    onPresentedChanged: {
        root.library.audioControlsOpen = presented
        if (presented)
            panel.open()
        else
            panel.close()
    }
    Component.onDestruction: {
        if (presented && root.library)
            root.library.audioControlsOpen = false
    }

    Connections {
        target: root.library
        function onVideoFullScreenChanged() { root.presented = false }
        // Stopping or starting a stream resets the model's flag; the panel is still open.
        function onAudioControlsOpenChanged() {
            if (root.presented && !root.library.audioControlsOpen)
                root.library.audioControlsOpen = true
        }
    }

    TrackPanel {
        id: panel
        objectName: "audioPanel"
        width: 350
        onClosed: root.presented = false

        Label {
            width: parent.width
            text: "Idioma de l’àudio"
            font.pixelSize: Theme.headlineSize
            font.weight: Theme.headlineWeight
            color: Theme.primaryText
        }

        Label {
            width: parent.width
            visible: root.library.audioTracks.length === 0
            text: "Encara no s’ha detectat cap pista d’àudio."
            wrapMode: Text.WordWrap
            font.pixelSize: Theme.bodySize
            color: Theme.secondaryText
        }

        TrackPicker {
            width: parent.width
            visible: root.library.audioTracks.length > 0
            tracks: root.library.audioTracks
            offText: "Desactivat"
            selected: root.library.selectedAudio
            onPicked: id => root.library.selectAudio(id)
        }

        Label {
            width: parent.width
            text: "Es mostren totes les pistes detectades en aquest vídeo. Si un idioma no hi apareix, cal una altra versió del contingut que l’inclogui. Una pista sense idioma indicat pot requerir escoltar-la per identificar-la."
            wrapMode: Text.WordWrap
            font.pixelSize: Theme.captionSize
            color: Theme.secondaryText
        }
    }
}
