import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// Marks a movie or an episode as watched, or takes the mark (and its progress) away. Without a
// watch-history key — no connection — it is disabled.
//   WatchedButton { catalog: library.catalog; key: …; title: "episodi 3"; watched: … }
AbstractButton {
    id: root

    required property CatalogModel catalog
    property string key
    // Who the accessible name speaks of: the movie's name, or "episodi N".
    property string title
    property bool watched
    readonly property string helpText: watched ? "Treu la marca de vist i reinicia el progrés"
                                               : "Marca com a vist sense reproduir"

    text: watched ? "Marca no vist" : "Marca com a vist"
    enabled: key.length > 0
    hoverEnabled: true
    focusPolicy: Qt.TabFocus
    leftPadding: Theme.spacingSmall
    rightPadding: Theme.spacingSmall
    topPadding: 5
    bottomPadding: 5
    Accessible.role: Accessible.Button
    Accessible.name: (watched ? "Marca com a no vist" : "Marca com a vist") + ": " + title
    Accessible.description: helpText
    ToolTip.visible: hovered
    ToolTip.delay: 600
    ToolTip.text: helpText
    onClicked: catalog.toggleWatched(key)

    contentItem: RowLayout {
        spacing: 5
        opacity: root.enabled ? 1 : 0.5

        Icon {
            name: root.watched ? "checkmark.circle.fill" : "circle"
            size: Theme.iconSmall + 2
            color: root.watched ? Theme.mint : Theme.secondaryText
        }
        Label {
            text: root.text
            font.pixelSize: Theme.captionSize + 1
            color: root.hovered ? Theme.primaryText : Theme.secondaryText
        }
    }
    background: Rectangle {
        radius: Theme.radiusSmall
        color: root.down ? Theme.selection : root.hovered ? Theme.hover : "transparent"
    }
}
