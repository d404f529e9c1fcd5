import QtQuick
import QtQuick.Controls

ApplicationWindow {
    id: root

    width: 1240
    height: 780
    minimumWidth: 1000
    minimumHeight: 650
    visible: true
    title: "Quenvo"
    color: "#101214"

    Label {
        anchors.centerIn: parent
        text: "Quenvo"
        color: "#3ee0b0"
        font.pixelSize: 42
        font.weight: Font.DemiBold
    }
}
