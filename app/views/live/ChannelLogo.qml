import QtQuick
import QtQuick.Controls
import Quenvo

// A channel's logo from the address its list gives, through the same artwork pipeline as the
// posters (bounded downloads, one cache, cancelled when the row goes); until it is there, or when it
// cannot be had, the channel's initials on a tile.
Item {
    id: root

    property string url
    property string name

    readonly property bool hasLogo: picture.status === Image.Ready

    implicitWidth: 36
    implicitHeight: 36
    Accessible.ignored: true

    Rectangle {
        anchors.fill: parent
        radius: Theme.radius
        color: Qt.rgba(0.11, 0.17, 0.22, 1)
        visible: !root.hasLogo

        Label {
            anchors.centerIn: parent
            // The first letters of the first two words.
            text: root.name.split(/\s+/).filter(word => word.length > 0).slice(0, 2)
                      .map(word => word.charAt(0).toUpperCase()).join("")
            color: Theme.mint
            font.pixelSize: Math.round(root.height * 0.36)
            font.weight: Font.DemiBold
        }
    }

    Image {
        id: picture

        objectName: "channelLogoImage"
        anchors.fill: parent
        anchors.margins: 2
        source: root.url.length > 0 && root.visible ? "image://artwork/" + encodeURIComponent(root.url) : ""
        asynchronous: true
        cache: false
        fillMode: Image.PreserveAspectFit
        smooth: true
        mipmap: true
        visible: root.hasLogo
    }
}
