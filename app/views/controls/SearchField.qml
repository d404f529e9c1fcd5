import QtQuick
import QtQuick.Controls
import Quenvo

// A search box: the placeholder is also its accessible name. Bind `text` one way and write back
// from onTextEdited, so the model stays the owner of the query:
//   SearchField { placeholderText: "Cerca un canal"; text: model.search; onTextEdited: model.search = text }
TextField {
    id: root

    Accessible.name: placeholderText
    font.pixelSize: Theme.bodySize
    color: Theme.primaryText
    placeholderTextColor: Theme.tertiaryText
    selectionColor: Theme.mint
    selectedTextColor: Theme.textOnMint
    leftPadding: 10
    rightPadding: 10
    background: Rectangle {
        implicitHeight: 32
        radius: Theme.radius
        color: Theme.fieldBackground
        border.width: 1
        border.color: root.activeFocus ? Theme.mint : Theme.fieldBorder
    }
}
