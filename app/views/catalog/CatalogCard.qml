import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// One title of a grid: its poster in a 2 : 3 frame, the name, and a caption with the year (or the
// kind when the year is unknown) and the rating. A watched movie carries the badge "Vista".
//   CatalogCard { name: …; posterURL: …; symbol: "film"; year: …; kindTitle: "Pel·lícules";
//                 ratingLabel: "7.5"; watched: false; onClicked: … }
AbstractButton {
    id: root

    property string posterURL
    property string name
    property string symbol: "film"
    property string year
    property string kindTitle
    // The rating as the card writes it ("7.5"); empty shows no star.
    property string ratingLabel
    property bool watched
    property color backdrop: Theme.appBackground

    implicitWidth: 160
    implicitHeight: poster.height + details.implicitHeight + Theme.spacingSmall
    hoverEnabled: true
    focusPolicy: Qt.TabFocus
    Accessible.role: Accessible.Button
    Accessible.name: name

    contentItem: Item {
        CatalogPoster {
            id: poster

            width: parent.width
            height: Math.round(width * 3 / 2)
            url: root.posterURL
            title: root.name
            symbol: root.symbol
            backdrop: root.backdrop
            radius: Theme.radiusLarge
            scale: root.hovered ? 1.02 : 1
            Behavior on scale { NumberAnimation { duration: 120 } }

            Rectangle {
                anchors.fill: parent
                radius: Theme.radiusLarge
                color: "transparent"
                border.width: root.hovered || root.visualFocus ? 2 : 0
                border.color: Theme.mint
            }

            // "Vista": the movie's watch record is marked watched.
            Rectangle {
                objectName: "watchedBadge"
                visible: root.watched
                anchors.top: parent.top
                anchors.left: parent.left
                anchors.margins: Theme.spacingSmall
                radius: height / 2
                color: Qt.rgba(0, 0, 0, 0.72)
                implicitWidth: badge.implicitWidth + 12
                implicitHeight: badge.implicitHeight + 6

                RowLayout {
                    id: badge

                    anchors.centerIn: parent
                    spacing: 4

                    Icon {
                        name: "checkmark.circle.fill"
                        size: Theme.iconSmall
                        color: Theme.mint
                    }
                    Label {
                        text: "Vista"
                        font.pixelSize: Theme.captionSize
                        font.weight: Font.DemiBold
                        color: Theme.primaryText
                    }
                }
            }
        }

        ColumnLayout {
            id: details

            anchors.top: poster.bottom
            anchors.topMargin: Theme.spacingSmall
            width: parent.width
            spacing: 2

            Label {
                objectName: "cardName"
                text: root.name
                font.pixelSize: Theme.bodySize
                font.weight: Font.DemiBold
                color: Theme.primaryText
                elide: Text.ElideRight
                Layout.fillWidth: true
            }
            RowLayout {
                spacing: 4
                Layout.fillWidth: true

                Label {
                    objectName: "cardCaption"
                    text: root.year.length > 0 ? root.year : root.kindTitle
                    font.pixelSize: Theme.captionSize + 1
                    color: Theme.secondaryText
                    elide: Text.ElideRight
                }
                Icon {
                    visible: root.ratingLabel.length > 0
                    name: "star.fill"
                    size: Theme.iconSmall - 2
                    color: Theme.mint
                    Layout.leftMargin: Theme.spacingTiny
                }
                Label {
                    objectName: "cardRating"
                    visible: root.ratingLabel.length > 0
                    text: root.ratingLabel
                    font.pixelSize: Theme.captionSize + 1
                    color: Theme.secondaryText
                }
                Item { Layout.fillWidth: true }
            }
        }
    }
    background: Item {}
}
