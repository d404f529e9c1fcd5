import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// A title's page in place of the grid: the way back, the header, then — once the detail has come —
// the synopsis, the cast and either the movie's play button or the series' seasons and episodes.
Item {
    id: root

    required property LibraryModel library

    readonly property CatalogModel catalog: library.catalog
    readonly property var item: catalog.selectedItem
    readonly property var detail: catalog.detail
    readonly property bool hasItem: item !== undefined && item !== null
    readonly property bool hasDetail: detail !== undefined && detail !== null

    Flickable {
        id: scroller

        objectName: "detailScroller"
        anchors.fill: parent
        contentWidth: width
        contentHeight: page.implicitHeight + Theme.spacingHuge
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        ScrollBar.vertical: ScrollBar {}

        ColumnLayout {
            id: page

            width: Math.min(scroller.width - Theme.spacingLarge, 900)
            spacing: Theme.spacingLarge

            CatalogBackButton {
                objectName: "backToTitles"
                text: "Torna als títols"
                onClicked: root.catalog.closeDetail()
                Layout.leftMargin: -6
            }

            CatalogDetailHeader {
                visible: root.hasItem
                library: root.library
                item: root.hasItem ? root.item : ({name: "", poster: "", year: "", ratingLabel: "", record: undefined})
                detail: root.hasDetail ? root.detail : null
                Layout.fillWidth: true
            }

            RowLayout {
                objectName: "loadingDetail"
                visible: root.catalog.loadingDetail
                spacing: Theme.spacingSmall

                BusyIndicator {
                    running: parent.visible
                    implicitWidth: 24
                    implicitHeight: 24
                }
                Label {
                    text: "Carregant la fitxa…"
                    font.pixelSize: Theme.bodySize
                    color: Theme.secondaryText
                }
            }

            ColumnLayout {
                visible: root.catalog.detailError.length > 0
                spacing: Theme.spacingSmall
                Layout.fillWidth: true

                Label {
                    objectName: "detailError"
                    text: root.catalog.detailError
                    font.pixelSize: Theme.bodySize
                    color: Theme.warning
                    wrapMode: Text.Wrap
                    Layout.fillWidth: true
                }
                SecondaryButton {
                    objectName: "retryDetail"
                    text: "Torna-ho a provar"
                    onClicked: root.catalog.retryDetail()
                }
            }

            Label {
                objectName: "detailPlot"
                visible: root.hasDetail && text.length > 0
                text: root.hasDetail ? root.detail.plot : ""
                font.pixelSize: Theme.bodySize
                color: Theme.primaryText
                wrapMode: Text.Wrap
                lineHeight: 1.2
                Layout.fillWidth: true
            }

            ColumnLayout {
                visible: root.hasDetail && root.detail.cast.length > 0
                spacing: Theme.spacingTiny
                Layout.fillWidth: true

                Label {
                    text: "Repartiment"
                    font.pixelSize: Theme.headlineSize
                    font.weight: Theme.headlineWeight
                    color: Theme.primaryText
                }
                Label {
                    objectName: "detailCast"
                    text: root.hasDetail ? root.detail.cast : ""
                    font.pixelSize: Theme.calloutSize
                    color: Theme.secondaryText
                    wrapMode: Text.Wrap
                    Layout.fillWidth: true
                }
            }

            Loader {
                objectName: "detailPlayback"
                active: root.hasItem && root.hasDetail
                sourceComponent: root.hasItem && root.item.kind === "movies" ? moviePanel : episodeList
                Layout.fillWidth: true
                Layout.topMargin: Theme.spacingSmall
            }
        }
    }

    Component {
        id: moviePanel

        CatalogMoviePanel {
            library: root.library
            item: root.item
            visible: root.detail.hasMovie
        }
    }
    Component {
        id: episodeList

        CatalogEpisodeList {
            library: root.library
            detail: root.detail
        }
    }
}
