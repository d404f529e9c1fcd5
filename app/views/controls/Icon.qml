import QtQuick
import Quenvo

// A symbol of the application's icon set, tinted: Icon { name: "play.fill"; color: Theme.mint; size: 16 }
// Names are those of icons/icons.json; an unknown name draws nothing (and is reported once).
Item {
    id: root

    property string name
    property color color: Theme.primaryText
    property int size: Theme.iconSize

    implicitWidth: size
    implicitHeight: size

    Image {
        anchors.fill: parent
        source: root.name.length > 0 ? IconCatalog.source(root.name, root.color) : ""
        sourceSize.width: root.width
        sourceSize.height: root.height
        fillMode: Image.PreserveAspectFit
        smooth: true
    }
}
