import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// The "Pista" picker of a track panel: an entry that turns the tracks off, then every track the
// player lists. It shows the player's current track and reports the one the user picks.
RowLayout {
    id: root

    // Tracks as {id, name}.
    property var tracks: []
    property string offText
    property int selected: -1

    signal picked(int id)

    readonly property var entries: [{ id: -1, name: root.offText }].concat(root.tracks)

    spacing: Theme.spacing

    Label {
        text: "Pista"
        font.pixelSize: Theme.bodySize
        color: Theme.primaryText
    }

    ComboBox {
        id: picker
        objectName: "trackPicker"
        Layout.fillWidth: true
        model: root.entries
        textRole: "name"
        valueRole: "id"
        font.pixelSize: Theme.bodySize
        Accessible.name: "Pista"
        currentIndex: {
            for (let i = 0; i < root.entries.length; ++i) {
                if (root.entries[i].id === root.selected)
                    return i
            }
            return -1
        }
        onActivated: index => root.picked(root.entries[index].id)
    }
}
