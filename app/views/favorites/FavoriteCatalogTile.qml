import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// A favourite movie or series in the favourites browser: its card opens it in the catalogue, and the
// button under it takes it out of the favourites. While the tile is on screen and no poster is
// known, the browser's model looks the poster up once.
Item {
    id: root

    required property int index
    required property string recordID
    required property string sourceID
    required property string symbol
    required property string kindTitle
    required property string name
    required property string year
    required property string ratingLabel
    required property string poster
    // The title (its "item" role), for the favourite button.
    required property var item
    required property FavoritesModel browser
    required property CatalogFavorites favorites

    signal openRequested(int index)

    // The favourite whose poster this tile asked for; empty when none.
    property string lookup

    function startLookup() {
        if (lookup === recordID)
            return
        stopLookup()
        lookup = recordID
        browser.requestPoster(recordID)
    }
    function stopLookup() {
        if (lookup.length === 0)
            return
        browser.releasePoster(lookup)
        lookup = ""
    }

    implicitWidth: 160
    implicitHeight: column.implicitHeight

    Component.onCompleted: startLookup()
    Component.onDestruction: stopLookup()
    GridView.onPooled: stopLookup()
    GridView.onReused: startLookup()

    ColumnLayout {
        id: column

        width: parent.width
        spacing: Theme.spacingTiny

        CatalogCard {
            objectName: "favoriteTitleCard"
            posterURL: root.poster
            name: root.name
            symbol: root.symbol
            year: root.year
            kindTitle: root.kindTitle
            ratingLabel: root.ratingLabel
            Layout.fillWidth: true
            onClicked: root.openRequested(root.index)
        }
        CatalogFavoriteButton {
            objectName: "favoriteTitleButton"
            favorites: root.favorites
            sourceID: root.sourceID
            item: root.item
            name: root.name
            Layout.leftMargin: -4
        }
    }
}
