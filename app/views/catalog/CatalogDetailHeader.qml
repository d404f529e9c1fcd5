import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// The top of a title's page: its poster, name, kind, year, rating, genre and length, and the
// favourite button.
RowLayout {
    id: root

    required property LibraryModel library
    // The open title (CatalogModel.selectedItem) and its detail once loaded (or null).
    required property var item
    required property var detail

    readonly property string detailPoster: detail ? detail.poster.toString() : ""

    spacing: Theme.spacingHuge

    CatalogPoster {
        objectName: "detailPoster"
        url: root.detailPoster.length > 0 ? root.detailPoster : root.item.poster.toString()
        title: root.item.name
        symbol: root.library.catalog.kindSymbol
        radius: Theme.radiusLarge
        Layout.preferredWidth: 168
        Layout.preferredHeight: 252
        Layout.alignment: Qt.AlignTop
    }

    ColumnLayout {
        spacing: Theme.spacingSmall
        Layout.fillWidth: true
        Layout.alignment: Qt.AlignTop

        Label {
            objectName: "detailName"
            text: root.item.name
            font.pixelSize: Theme.largeTitleSize
            font.weight: Font.Bold
            color: Theme.primaryText
            wrapMode: Text.Wrap
            Layout.fillWidth: true
        }
        RowLayout {
            spacing: Theme.spacingSmall

            Label {
                objectName: "detailKind"
                text: root.library.catalog.kindTitle
                font.pixelSize: Theme.calloutSize
                font.weight: Font.DemiBold
                color: Theme.mint
            }
            Label {
                objectName: "detailYear"
                visible: root.item.year.length > 0
                text: "·  " + root.item.year
                font.pixelSize: Theme.calloutSize
                color: Theme.secondaryText
            }
            Label {
                visible: root.item.ratingLabel.length > 0
                text: "·"
                font.pixelSize: Theme.calloutSize
                color: Theme.secondaryText
            }
            Icon {
                visible: root.item.ratingLabel.length > 0
                name: "star.fill"
                size: Theme.iconSmall
                color: Theme.mint
            }
            Label {
                objectName: "detailRating"
                visible: root.item.ratingLabel.length > 0
                text: root.item.ratingLabel
                font.pixelSize: Theme.calloutSize
                color: Theme.secondaryText
            }
        }
        Label {
            objectName: "detailFacts"
            readonly property var facts: root.detail ? [root.detail.genre, root.detail.duration].filter(text => text.length > 0) : []
            visible: facts.length > 0
            text: facts.join("  ·  ")
            font.pixelSize: Theme.calloutSize
            color: Theme.secondaryText
            wrapMode: Text.Wrap
            Layout.fillWidth: true
        }
        CatalogFavoriteButton {
            objectName: "detailFavoriteButton"
            favorites: root.library.catalogFavorites
            sourceID: root.library.activeID
            item: root.item.record
            name: root.item.name
            Layout.leftMargin: -4
            Layout.topMargin: Theme.spacingTiny
        }
    }
}
