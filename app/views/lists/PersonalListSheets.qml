pragma Singleton
import QtQuick

// How any view asks for one of the personal-list sheets, which the main window holds once: a button
// deep in a list row signals here, the window opens the sheet.
QtObject {
    // The add sheet, for a PersonalListContent handed out by a model.
    signal addRequested(var content)
    // The sheet that picks several groups: "live" for the channel list's groups, else the
    // catalogue's categories of the kind it shows.
    signal groupsRequested(string kind)
    // The name editor: an empty id creates a list (and opens it), else that list is renamed.
    signal nameRequested(string listID)
}
