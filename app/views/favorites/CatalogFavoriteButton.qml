import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// Marks a movie or series as a favourite of its connection, or takes the mark away. Without a
// connection it does nothing.
//   CatalogFavoriteButton { favorites: library.catalogFavorites; sourceID: library.activeID
//                           item: model.record; name: model.name }
AbstractButton {
    id: root

    required property CatalogFavorites favorites
    // The connection's id; empty when there is none.
    property string sourceID
    // The title as the catalogue's list models hand it out (their "record" role).
    property var item
    property string name

    // Reading `count` makes the mark follow every change of the store.
    readonly property bool isFavorite: favorites.count >= 0 && favorites.containsTitle(sourceID, item)

    text: isFavorite ? "Als favorits" : "Afegeix a favorits"
    hoverEnabled: true
    focusPolicy: Qt.TabFocus
    padding: 4
    Accessible.role: Accessible.Button
    Accessible.name: (isFavorite ? "Treu de favorits" : "Afegeix a favorits") + ": " + name
    ToolTip.visible: hovered
    ToolTip.delay: 600
    ToolTip.text: isFavorite ? "Treu de favorits" : "Desa als teus favorits"
    onClicked: favorites.toggleTitle(sourceID, item)

    contentItem: RowLayout {
        spacing: 5

        Icon {
            name: root.isFavorite ? "star.fill" : "star"
            size: Theme.iconSmall
            color: root.isFavorite ? Theme.mint : Theme.secondaryText
        }
        Label {
            text: root.text
            font.pixelSize: Theme.captionSize + 1
            color: root.hovered ? Theme.primaryText : root.isFavorite ? Theme.mint : Theme.secondaryText
        }
    }
    background: Rectangle {
        radius: Theme.radiusSmall
        color: root.down ? Theme.selection : root.hovered ? Theme.hover : "transparent"
    }
}
