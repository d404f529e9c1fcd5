import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// Above the content: what is shown and from which connection, refresh, and "Afegeix llista".
Item {
    id: root

    required property LibraryModel library
    // The name of the place a personal list was opened from, when the model can return there.
    property string returnName

    readonly property string title: {
        if (library.selectedPersonalListID.length > 0)
            return library.selectedPersonalListName
        if (library.favoritesOnly)
            return "Els teus favorits"
        switch (library.section) {
        case "movies": return "Pel·lícules"
        case "series": return "Sèries"
        default: return "TV en directe"
        }
    }
    readonly property string subtitle: {
        if (library.selectedPersonalListID.length > 0)
            return "Llista personal · Desada al teu " + PlatformText.computer
        return library.activeSource !== undefined ? library.activeSource.name
                                                  : "Tot el que vols veure, en un sol lloc."
    }

    signal returnRequested()

    implicitHeight: 64

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: Theme.spacingHuge
        anchors.rightMargin: Theme.spacingHuge
        spacing: Theme.spacing

        IconButton {
            objectName: "returnButton"
            visible: root.library.personalReturnID.length > 0 && root.returnName.length > 0
            iconName: "chevron.left"
            text: "Torna a " + root.returnName
            onClicked: root.returnRequested()
        }
        ColumnLayout {
            spacing: 2
            Layout.fillWidth: true

            Label {
                objectName: "headerTitle"
                text: root.title
                font.pixelSize: Theme.titleSize
                font.weight: Font.Bold
                color: Theme.primaryText
                elide: Text.ElideRight
                Layout.fillWidth: true
            }
            Label {
                objectName: "headerSubtitle"
                text: root.subtitle
                font.pixelSize: Theme.calloutSize
                color: Theme.secondaryText
                elide: Text.ElideRight
                Layout.fillWidth: true
            }
        }
        Item {
            implicitWidth: 28
            implicitHeight: 28

            IconButton {
                objectName: "refreshButton"
                anchors.centerIn: parent
                visible: !root.library.isLoading
                iconName: "arrow.clockwise"
                toolTipText: "Actualitza la llista · " + PlatformText.shortcut("R")
                onClicked: root.library.refreshCurrentView()
            }
            BusyIndicator {
                objectName: "refreshProgress"
                anchors.centerIn: parent
                width: 22
                height: 22
                visible: root.library.isLoading
                running: visible
            }
        }
        MintButton {
            objectName: "headerAddSource"
            text: "Afegeix llista"
            iconName: "plus"
            onClicked: root.library.addSource()
        }
    }
}
