import QtQuick
import QtQuick.Controls
import Quenvo

// A title's or an episode's picture from the provider, with a placeholder (a gradient and the
// kind's symbol) until it is known and whenever it cannot be had. Pictures come through the
// application's artwork provider, which downloads each address once, decodes it off the main thread
// and shares one cache; a poster that leaves the screen cancels its download.
//   CatalogPoster { url: item.poster; title: item.name; symbol: "film" }
Item {
    id: root

    property string url
    property string title
    property string symbol: "film"
    property int radius: Theme.radius
    // What lies behind the poster: its rounded corners are cut in this colour.
    property color backdrop: Theme.appBackground

    readonly property bool hasArtwork: picture.status === Image.Ready

    Accessible.role: Accessible.Graphic
    Accessible.name: title

    Rectangle {
        anchors.fill: parent
        radius: root.radius
        gradient: Gradient {
            GradientStop { position: 0; color: Qt.rgba(0.11, 0.17, 0.22, 1) }
            GradientStop { position: 1; color: Qt.rgba(0.05, 0.08, 0.11, 1) }
        }
        visible: !root.hasArtwork

        Icon {
            anchors.centerIn: parent
            name: root.symbol
            size: Math.max(16, Math.min(root.width, root.height) * 0.28)
            color: Theme.mint
        }
    }

    Image {
        id: picture

        objectName: "posterImage"
        anchors.fill: parent
        // Only while shown: a card put aside for reuse, or a hidden page, withdraws its request.
        source: root.url.length > 0 && root.visible ? "image://artwork/" + encodeURIComponent(root.url) : ""
        asynchronous: true
        // The artwork provider keeps the one cache.
        cache: false
        fillMode: Image.PreserveAspectCrop
        smooth: true
        mipmap: true
        visible: root.hasArtwork
    }

    // Rounds the picture's corners: a ring of the backdrop colour whose inner edge is the poster's
    // rounded outline (no shader, so the software renderer draws it too).
    Rectangle {
        anchors.fill: parent
        anchors.margins: -root.radius
        radius: 2 * root.radius
        color: "transparent"
        border.width: root.radius
        border.color: root.backdrop
        visible: root.hasArtwork && root.radius > 0
    }
}
