import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// The provider's categories of the kind shown: a search over their names, how many there are, and
// one row each; choosing a row shows its titles.
Item {
    id: root

    required property CatalogModel catalog

    readonly property string selectedID: catalog.selectedCategory !== undefined && catalog.selectedCategory !== null
                                         ? catalog.selectedCategory.categoryID : ""

    implicitWidth: 252

    ColumnLayout {
        anchors.fill: parent
        spacing: Theme.spacingSmall + 2

        Label {
            text: "CATEGORIES"
            font.pixelSize: Theme.captionSize
            font.weight: Font.DemiBold
            font.letterSpacing: Theme.wideLetterSpacing
            color: Theme.tertiaryText
            Layout.leftMargin: Theme.spacingTiny
        }
        SearchField {
            objectName: "categorySearchField"
            placeholderText: "Cerca categoria"
            text: root.catalog.categorySearch
            onTextEdited: root.catalog.categorySearch = text
            Layout.fillWidth: true
        }
        Label {
            objectName: "categoryCount"
            text: root.catalog.categoryCount + " categories del teu proveïdor"
            font.pixelSize: Theme.captionSize + 1
            color: Theme.secondaryText
            elide: Text.ElideRight
            Layout.fillWidth: true
            Layout.leftMargin: Theme.spacingTiny
        }
        // "Afegeix diverses agrupacions…" (several categories into personal lists) goes here.

        Item {
            Layout.fillWidth: true
            Layout.fillHeight: true

            ListView {
                id: categoryView

                objectName: "categoryView"
                anchors.fill: parent
                model: root.catalog.filteredCategories
                reuseItems: true
                clip: true
                spacing: 2
                boundsBehavior: Flickable.StopAtBounds
                ScrollBar.vertical: ScrollBar {}

                delegate: CatalogCategoryRow {
                    width: ListView.view.width
                    selected: categoryID === root.selectedID
                    onChosen: index => root.catalog.selectCategoryAt(index)
                }
            }
            Label {
                objectName: "noCategoryMatch"
                anchors.top: parent.top
                anchors.topMargin: Theme.spacingSmall
                width: parent.width
                visible: root.catalog.categorySearch.length > 0 && root.catalog.filteredCategories.count === 0
                text: "Cap categoria coincideix amb la cerca."
                font.pixelSize: Theme.calloutSize
                color: Theme.secondaryText
                wrapMode: Text.Wrap
                horizontalAlignment: Text.AlignHCenter
            }
        }
    }
}
