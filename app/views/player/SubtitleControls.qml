import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Layouts
import Quenvo

// The subtitle control: a button opening a panel to pick the track, load a subtitle file and shift
// the subtitles in time. While the panel is open the model knows it (the full-screen controls stay
// on screen for it); going in or out of full screen closes it.
PlayerButton {
    id: root

    required property LibraryModel library
    property bool presented: false
    // The player a file is being chosen for: a file chosen after another stream started is ignored.
    property var choosingFor: null

    text: "Subtítols"
    iconName: "captions.bubble"
    toolTipText: "Pista, fitxer extern i sincronització dels subtítols"
    active: presented
    onClicked: presented = !presented

    onPresentedChanged: {
        root.library.subtitleControlsOpen = presented
        if (presented)
            panel.open()
        else
            panel.close()
    }
    Component.onDestruction: {
        if (presented && root.library)
            root.library.subtitleControlsOpen = false
    }

    Connections {
        target: root.library
        function onVideoFullScreenChanged() { root.presented = false }
        // Stopping or starting a stream resets the model's flag; the panel is still open.
        function onSubtitleControlsOpenChanged() {
            if (root.presented && !root.library.subtitleControlsOpen)
                root.library.subtitleControlsOpen = true
        }
    }

    function chooseFile() {
        choosingFor = root.library.player
        fileDialog.open()
    }

    // The delay as C's "%+.1f s" writes it: the sign always shown, one decimal after a point.
    function delayText(seconds) {
        const text = seconds.toFixed(1)
        return (seconds < 0 || text.startsWith("-") ? text : "+" + text) + " s"
    }

    FileDialog {
        id: fileDialog
        objectName: "subtitleFileDialog"
        title: "Carrega subtítols"
        acceptLabel: "Carrega"
        fileMode: FileDialog.OpenFile
        nameFilters: ["SRT, VTT, ASS o SSA (*.srt *.vtt *.ass *.ssa)"]
        onAccepted: {
            if (root.library.isCurrentPlayer(root.choosingFor))
                root.library.loadSubtitleFile(selectedFile)
            root.choosingFor = null
        }
        onRejected: root.choosingFor = null
    }

    TrackPanel {
        id: panel
        objectName: "subtitlePanel"
        width: 360
        onClosed: root.presented = false

        Label {
            width: parent.width
            text: "Subtítols"
            font.pixelSize: Theme.headlineSize
            font.weight: Theme.headlineWeight
            color: Theme.primaryText
        }

        TrackPicker {
            width: parent.width
            tracks: root.library.subtitleTracks
            offText: "Desactivats"
            selected: root.library.selectedSubtitle
            onPicked: id => root.library.selectSubtitle(id)
        }

        Label {
            width: parent.width
            visible: root.library.subtitleTracks.length === 0
            text: "Aquest vídeo no anuncia cap pista de subtítols. Pots afegir-ne un fitxer."
            wrapMode: Text.WordWrap
            font.pixelSize: Theme.captionSize
            color: Theme.secondaryText
        }

        Label {
            width: parent.width
            text: "Es mostren totes les pistes detectades. Els idiomes depenen del vídeo del proveïdor; pots carregar subtítols externs si falta el que vols."
            wrapMode: Text.WordWrap
            font.pixelSize: Theme.captionSize
            color: Theme.secondaryText
        }

        Column {
            width: parent.width
            spacing: Theme.spacingTiny

            PlayerButton {
                objectName: "loadSubtitleFileButton"
                text: "Carrega un fitxer…"
                onClicked: root.chooseFile()
            }
            Label {
                text: "SRT, VTT, ASS o SSA"
                font.pixelSize: Theme.captionSize - 1
                color: Theme.secondaryText
            }
        }

        Rectangle {
            width: parent.width
            height: 1
            color: Theme.separator
        }

        Label {
            text: "Sincronització"
            font.pixelSize: Theme.subheadlineSize
            font.weight: Font.DemiBold
            color: Theme.primaryText
        }

        RowLayout {
            width: parent.width
            spacing: Theme.spacingSmall
            enabled: root.library.selectedSubtitle !== -1

            PlayerButton {
                objectName: "subtitleEarlierButton"
                text: "−0,5 s"
                toolTipText: "Avança els subtítols mig segon"
                Accessible.name: text
                onClicked: root.library.setSubtitleDelay(root.library.subtitleDelay - 0.5)
            }
            Label {
                objectName: "subtitleDelayText"
                text: root.delayText(root.library.subtitleDelay)
                horizontalAlignment: Text.AlignHCenter
                font.pixelSize: Theme.bodySize
                font.family: Theme.monospaceFamily
                color: Theme.primaryText
                opacity: enabled ? 1 : 0.35
                Layout.minimumWidth: 65
            }
            PlayerButton {
                objectName: "subtitleLaterButton"
                text: "+0,5 s"
                toolTipText: "Retarda els subtítols mig segon"
                Accessible.name: text
                onClicked: root.library.setSubtitleDelay(root.library.subtitleDelay + 0.5)
            }
            PlayerButton {
                objectName: "subtitleResetButton"
                text: "Restableix"
                onClicked: root.library.setSubtitleDelay(0)
            }
            Item { Layout.fillWidth: true }
        }

        Label {
            width: parent.width
            text: "Un valor positiu mostra els subtítols més tard."
            wrapMode: Text.WordWrap
            font.pixelSize: Theme.captionSize - 1
            color: Theme.secondaryText
        }

        Label {
            width: parent.width
            visible: root.library.subtitleError.length > 0
            text: root.library.subtitleError
            wrapMode: Text.WordWrap
            font.pixelSize: Theme.captionSize
            color: Theme.warning
        }
    }
}
