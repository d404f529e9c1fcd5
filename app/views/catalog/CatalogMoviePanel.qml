import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// A movie's play button — "Continua" when it was left part-way — with where it stands and its
// watched button.
ColumnLayout {
    id: root

    required property LibraryModel library
    // The open title (CatalogModel.selectedItem), with its watch record.
    required property var item

    spacing: Theme.spacing

    MintButton {
        objectName: "playMovieButton"
        iconName: "play.fill"
        text: root.item.resumeSeconds > 0 ? "Continua la pel·lícula" : "Reprodueix la pel·lícula"
        Accessible.name: text
        onClicked: root.library.playMovie()
    }
    WatchProgressLabel {
        objectName: "movieProgress"
        hasRecord: root.item.hasRecord
        watched: root.item.watched
        seconds: root.item.progressSeconds
        duration: root.item.progressDuration
        fraction: root.item.progressFraction
        Layout.fillWidth: true
    }
    WatchedButton {
        objectName: "movieWatchedButton"
        catalog: root.library.catalog
        key: root.item.watchKey
        title: root.item.name
        watched: root.item.watched
        Layout.leftMargin: -Theme.spacingSmall
    }
}
