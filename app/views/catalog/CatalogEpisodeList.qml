import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// A series' seasons and episodes: the season picker, how many episodes are watched, the way to go
// on with the first one not watched yet, and the episodes of the season shown.
ColumnLayout {
    id: root

    required property LibraryModel library
    // The open title's detail (CatalogModel.detail).
    required property var detail

    readonly property CatalogModel catalog: library.catalog
    readonly property var seasons: detail.seasons
    readonly property var next: catalog.nextEpisode

    spacing: Theme.spacing

    RowLayout {
        spacing: Theme.spacing
        Layout.fillWidth: true

        Label {
            text: "Temporades i episodis"
            font.pixelSize: Theme.title3Size
            font.weight: Font.DemiBold
            color: Theme.primaryText
            Layout.fillWidth: true
        }
        CatalogPicker {
            objectName: "seasonPicker"
            visible: root.seasons.length > 0
            Accessible.name: "Temporada"
            model: root.seasons.map(season => season === 0 ? "Especials" : "Temporada " + season)
            currentIndex: root.seasons.indexOf(root.catalog.shownSeason)
            onActivated: index => root.catalog.selectedSeason = root.seasons[index]
            Layout.preferredWidth: 180
        }
    }

    RowLayout {
        spacing: Theme.spacing
        visible: root.detail.episodeCount > 0
        Layout.fillWidth: true

        Label {
            objectName: "episodeSummary"
            text: root.detail.episodeCount + " episodis · Vistos: " + root.catalog.watchedEpisodeCount
            font.pixelSize: Theme.calloutSize
            color: Theme.secondaryText
            Layout.fillWidth: true
        }
        AbstractButton {
            id: continueButton

            objectName: "continueButton"
            visible: root.next !== undefined && root.next !== null
            text: visible ? "Continua · T" + root.next.season + " E" + root.next.number : ""
            hoverEnabled: true
            focusPolicy: Qt.TabFocus
            leftPadding: Theme.mintButtonHorizontalPadding
            rightPadding: Theme.mintButtonHorizontalPadding
            topPadding: 6
            bottomPadding: 6
            Accessible.role: Accessible.Button
            Accessible.name: text
            onClicked: {
                const episode = root.next
                root.catalog.selectedSeason = episode.season
                root.library.playEpisode(episode.episodeID)
            }

            contentItem: RowLayout {
                spacing: 6

                Icon {
                    name: "play.circle.fill"
                    size: Theme.iconSize
                    color: Theme.mint
                }
                Label {
                    text: continueButton.text
                    font.pixelSize: Theme.bodySize
                    font.weight: Font.Medium
                    color: Theme.primaryText
                }
            }
            background: Rectangle {
                implicitHeight: 30
                radius: Theme.radius
                color: continueButton.down ? Theme.selection : continueButton.hovered ? Qt.rgba(1, 1, 1, 0.09) : Theme.hover
                border.width: 1
                border.color: Theme.fieldBorder
            }
        }
        RowLayout {
            objectName: "allWatched"
            visible: root.next === undefined || root.next === null
            spacing: Theme.spacingTiny

            Icon {
                name: "checkmark.circle.fill"
                size: Theme.iconSize
                color: Theme.mint
            }
            Label {
                text: "Tots els episodis vistos"
                font.pixelSize: Theme.bodySize
                font.weight: Font.Medium
                color: Theme.mint
            }
        }
    }

    Label {
        objectName: "noEpisodes"
        visible: root.detail.episodeCount === 0
        text: "El proveïdor encara no ha publicat episodis per a aquesta sèrie."
        font.pixelSize: Theme.bodySize
        color: Theme.secondaryText
        wrapMode: Text.Wrap
        Layout.fillWidth: true
    }

    Repeater {
        model: root.catalog.episodes

        delegate: CatalogEpisodeRow {
            library: root.library
            Layout.fillWidth: true
        }
    }
}
