import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// The content of the main window: the sidebar, then the header, the notice and the content, which
// is the welcome view before any connection exists, the channel list beside the player for live
// TV, and the movies-and-series browser — or the player, while one of its titles plays. It also hosts
// the connection editor and the question before a connection is removed.
Rectangle {
    id: root

    required property LibraryModel library

    readonly property bool showsPersonalList: library.selectedPersonalListID.length > 0
    readonly property bool showsFavorites: !showsPersonalList && library.favoritesOnly
    readonly property bool showsWelcome: !showsPersonalList && !library.favoritesOnly
                                         && library.sources.length === 0 && library.temporarySources.length === 0
                                         && library.channelCount === 0 && !library.isLoading
                                         && !library.readingConnections
    readonly property bool showsLive: !showsPersonalList && !library.favoritesOnly && !showsWelcome
                                      && library.section === "live"
    readonly property bool showsCatalog: !showsPersonalList && !library.favoritesOnly && !showsWelcome
                                         && (library.section === "movies" || library.section === "series")
    readonly property bool showsCatalogPlayer: showsCatalog && library.showsCatalogPlayer

    color: Theme.appBackground
    implicitWidth: 1000
    implicitHeight: 650

    RowLayout {
        anchors.fill: parent
        spacing: 0

        Sidebar {
            objectName: "sidebar"
            library: root.library
            Layout.preferredWidth: Theme.sidebarWidth
            Layout.fillHeight: true
            onRemoveRequested: source => removeDialog.ask(source)
        }
        Rectangle {
            color: Theme.separator
            implicitWidth: 1
            Layout.fillHeight: true
        }

        ColumnLayout {
            spacing: 0
            Layout.fillWidth: true
            Layout.fillHeight: true

            LibraryHeader {
                objectName: "header"
                library: root.library
                returnName: root.library.personalListsModel.count >= 0
                            ? root.library.personalListsModel.nameOf(root.library.personalReturnID) : ""
                onReturnRequested: root.library.openPersonalList(root.library.personalReturnID)
                Layout.fillWidth: true
                Layout.topMargin: Theme.spacingSmall
            }
            NoticeBanner {
                objectName: "noticeBanner"
                library: root.library
                Layout.fillWidth: true
                Layout.leftMargin: Theme.spacingHuge
                Layout.rightMargin: Theme.spacingHuge
                Layout.bottomMargin: Theme.spacing
            }

            Item {
                Layout.fillWidth: true
                Layout.fillHeight: true

                // A personal list: a fresh browser for every list shown.
                Repeater {
                    model: root.showsPersonalList ? [root.library.selectedPersonalListID] : []

                    delegate: PersonalListBrowser {
                        required property string modelData

                        objectName: "personalListBrowser"
                        anchors.fill: parent
                        library: root.library
                        listID: modelData
                    }
                }

                WelcomeView {
                    objectName: "welcomeView"
                    anchors.fill: parent
                    visible: root.showsWelcome
                    onAddRequested: root.library.addSource()
                }

                // Favourites mode: the favourites browser replaces the live view and the catalogue;
                // it is made anew for each visit.
                Loader {
                    objectName: "favoritesView"
                    anchors.fill: parent
                    active: root.showsFavorites
                    visible: active
                    sourceComponent: Component {
                        FavoritesBrowser {
                            objectName: "favoritesBrowser"
                            library: root.library
                        }
                    }
                }

                RowLayout {
                    objectName: "liveView"
                    anchors.fill: parent
                    anchors.leftMargin: Theme.spacingHuge
                    anchors.rightMargin: Theme.spacingHuge
                    anchors.bottomMargin: Theme.spacingHuge
                    visible: root.showsLive
                    spacing: Theme.spacingLarge

                    ChannelList {
                        objectName: "channelList"
                        library: root.library
                        Layout.preferredWidth: Theme.channelListWidth
                        Layout.fillHeight: true
                    }
                    Item {
                        id: livePlayerPlace

                        Layout.fillWidth: true
                        Layout.fillHeight: true
                    }
                }

                // Movies and series: the browser, or the player while one of its titles plays.
                CatalogBrowser {
                    objectName: "catalogBrowser"
                    anchors.fill: parent
                    anchors.leftMargin: Theme.spacingHuge
                    anchors.rightMargin: Theme.spacingHuge
                    anchors.bottomMargin: Theme.spacingHuge
                    visible: root.showsCatalog && !root.showsCatalogPlayer
                    library: root.library
                }
                ColumnLayout {
                    objectName: "catalogPlayer"
                    anchors.fill: parent
                    anchors.leftMargin: Theme.spacingHuge
                    anchors.rightMargin: Theme.spacingHuge
                    anchors.bottomMargin: Theme.spacingHuge
                    visible: root.showsCatalogPlayer
                    spacing: Theme.spacingSmall

                    CatalogBackButton {
                        objectName: "backToCatalog"
                        text: "Torna al catàleg"
                        onClicked: root.library.stop()
                        Layout.leftMargin: -6
                    }
                    Item {
                        id: catalogPlayerPlace

                        Layout.fillWidth: true
                        Layout.fillHeight: true
                    }
                }

                // One player for the whole window: beside the channels, or alone for a movie or an
                // episode (a second one would open a second full-screen window).
                PlaybackPane {
                    objectName: "playbackPane"
                    parent: root.showsCatalogPlayer ? catalogPlayerPlace : livePlayerPlace
                    anchors.fill: parent
                    library: root.library
                }
            }
        }
    }

    RemoveSourceDialog {
        id: removeDialog

        library: root.library
    }
    SourceEditor {
        library: root.library
    }

    // The personal-list sheets, asked for from anywhere in the window.
    AddToPersonalListSheet {
        id: addToListSheet

        lists: root.library.personalListsModel
    }
    PersonalGroupSelectionSheet {
        id: groupSelectionSheet

        library: root.library
    }
    PersonalListNameEditor {
        id: listNameEditor

        library: root.library
    }
    Connections {
        target: PersonalListSheets
        function onAddRequested(content) { addToListSheet.show(content) }
        function onGroupsRequested(kind) {
            if (kind === "live")
                groupSelectionSheet.showLiveGroups()
            else
                groupSelectionSheet.showCatalogGroups()
        }
        function onNameRequested(listID) {
            if (listID.length > 0)
                listNameEditor.rename(listID)
            else
                listNameEditor.create()
        }
    }
}
