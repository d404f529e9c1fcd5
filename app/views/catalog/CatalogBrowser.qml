import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// The movies-and-series screen: the category column, then the grid of the selected category's
// titles or, in its place, the page of the title opened. A connection without a catalogue (an M3U
// list, or none) gets a word on where its channels are instead.
Item {
    id: root

    required property LibraryModel library
    property bool showsCategorySidebar: true

    readonly property CatalogModel catalog: library.catalog
    readonly property bool showsDetail: catalog.selectedItem !== undefined && catalog.selectedItem !== null

    EmptyStatePanel {
        objectName: "noCatalog"
        anchors.fill: parent
        visible: !root.catalog.hasCatalog
        iconName: "rectangle.stack.badge.plus"
        title: "Connecta un servidor Xtream"
        description: "Les pel·lícules, les sèries i els episodis es carreguen amb una connexió Xtream Codes. "
                     + "Les llistes M3U es mostren a TV en directe."
    }

    RowLayout {
        objectName: "catalogContent"
        anchors.fill: parent
        visible: root.catalog.hasCatalog
        spacing: Theme.spacingHuge

        CatalogCategoryColumn {
            objectName: "categoryColumn"
            visible: root.showsCategorySidebar
            catalog: root.catalog
            Layout.preferredWidth: 252
            Layout.fillHeight: true
        }
        Rectangle {
            visible: root.showsCategorySidebar
            color: Theme.separator
            implicitWidth: 1
            Layout.fillHeight: true
        }
        Item {
            Layout.fillWidth: true
            Layout.fillHeight: true

            CatalogTitleGrid {
                objectName: "titleGridPane"
                anchors.fill: parent
                visible: !root.showsDetail
                catalog: root.catalog
            }
            CatalogDetailPage {
                objectName: "detailPage"
                anchors.fill: parent
                visible: root.showsDetail
                library: root.library
            }
        }
    }
}
