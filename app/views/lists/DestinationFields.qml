import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// Where a personal-list sheet adds: the "Llista de destinació" picker and, while a new list is
// chosen, the field that names it.
ColumnLayout {
    id: root

    required property PersonalListDestination destination
    property string namePrompt: "Anglès amb subtítols"
    readonly property alias nameField: nameField

    spacing: Theme.spacing

    ColumnLayout {
        spacing: Theme.spacingTiny + 2
        Layout.fillWidth: true

        Label {
            text: "Llista de destinació"
            font.pixelSize: Theme.calloutSize
            font.weight: Font.Medium
            color: Theme.secondaryText
        }
        Picker {
            objectName: "destinationPicker"
            Accessible.name: "Llista de destinació"
            model: root.destination.destinationNames
            currentIndex: root.destination.destinationIndex
            onActivated: index => root.destination.destinationIndex = index
            Layout.fillWidth: true
        }
    }
    FormField {
        id: nameField

        objectName: "newListName"
        visible: root.destination.createsList
        label: "Nom de la nova llista"
        placeholderText: root.namePrompt
        text: root.destination.newName
        Layout.fillWidth: true

        Connections {
            target: nameField.field
            function onTextEdited() { root.destination.newName = nameField.text }
        }
    }
}
