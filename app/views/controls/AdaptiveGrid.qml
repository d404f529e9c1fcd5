import QtQuick
import QtQuick.Controls
import Quenvo

// A scrolling grid of cards whose columns adapt to the width: as many as fit at
// `minimumColumnWidth` or more, each growing up to `maximumColumnWidth`; what is left stays free on
// the trailing side. Delegates take `columnWidth` as their width and `rowHeight` as their height.
//   AdaptiveGrid { minimumColumnWidth: 260; maximumColumnWidth: 420; rowHeight: 150; model: …; delegate: … }
GridView {
    id: root

    property real minimumColumnWidth: 140
    property real maximumColumnWidth: 190
    property real columnSpacing: 20
    property real rowSpacing: 20
    property real rowHeight: 100

    readonly property int columns: Math.max(1, Math.floor((width + columnSpacing) / (minimumColumnWidth + columnSpacing)))
    readonly property real columnWidth: Math.min(maximumColumnWidth,
        Math.floor((width + columnSpacing) / columns - columnSpacing))

    cellWidth: columnWidth + columnSpacing
    cellHeight: rowHeight + rowSpacing
    reuseItems: true
    clip: true
    boundsBehavior: Flickable.StopAtBounds
    ScrollBar.vertical: ScrollBar { policy: ScrollBar.AsNeeded }
}
