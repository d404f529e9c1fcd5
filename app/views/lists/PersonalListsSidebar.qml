import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// The sidebar's personal lists: one row per list in the store's order, the one on screen in mint;
// a row opens its list. "Crea una llista personal" asks for a name and opens the new list.
ColumnLayout {
    id: root

    required property LibraryModel library

    spacing: 10

    Label {
        text: "LLISTES PERSONALS"
        font.pixelSize: 10
        font.weight: Font.DemiBold
        font.letterSpacing: 1.2
        color: Theme.secondaryText
        Layout.leftMargin: Theme.spacingSmall
    }
    ListView {
        id: listView

        objectName: "personalListsView"
        model: root.library.personalListsModel
        clip: true
        spacing: 2
        boundsBehavior: Flickable.StopAtBounds
        visible: count > 0
        Layout.fillWidth: true
        // Every row when there is room: the spacer below shares only what the rows leave.
        Layout.fillHeight: true
        Layout.preferredHeight: contentHeight
        Layout.maximumHeight: contentHeight
        ScrollBar.vertical: ScrollBar {}

        delegate: AbstractButton {
            id: row

            required property string listID
            required property string name
            readonly property bool current: listID === root.library.selectedPersonalListID

            objectName: "personalListRow"
            width: ListView.view.width
            padding: Theme.spacingSmall
            hoverEnabled: true
            Accessible.role: Accessible.Button
            Accessible.name: name
            onClicked: root.library.openPersonalList(listID)

            contentItem: RowLayout {
                spacing: Theme.spacingSmall

                Icon {
                    name: "rectangle.stack"
                    size: Theme.iconSize - 2
                    color: row.current ? Theme.mint : Theme.secondaryText
                    Layout.alignment: Qt.AlignTop
                    Layout.topMargin: 1
                }
                Label {
                    text: row.name
                    font.pixelSize: Theme.calloutSize
                    font.weight: row.current ? Font.DemiBold : Font.Normal
                    color: row.current ? Theme.mint : Theme.primaryText
                    wrapMode: Text.Wrap
                    maximumLineCount: 2
                    elide: Text.ElideRight
                    Layout.fillWidth: true
                }
            }
            background: Rectangle {
                radius: Theme.radius
                color: row.current ? Theme.mintTint : row.hovered ? Theme.hover : "transparent"
            }
        }
    }
    LinkButton {
        objectName: "createPersonalList"
        text: "Crea una llista personal"
        iconName: "plus.circle"
        Layout.leftMargin: Theme.spacingTiny
        onClicked: PersonalListSheets.nameRequested("")
    }
    // Keeps the rows and the button together at the top.
    Item {
        Layout.fillHeight: true
    }
}
