import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// Names a new personal list, which then opens at once, or renames one. A refused name keeps the
// sheet open with its message and the typed name.
//   editor.create()   editor.rename(listID)
Sheet {
    id: root

    required property LibraryModel library
    // The list being renamed; empty while creating.
    property string listID
    property string error
    readonly property bool creating: listID.length === 0
    readonly property bool canConfirm: nameField.text.trim().length > 0

    function create() {
        show("")
    }
    function rename(id) {
        show(id)
    }
    function show(id) {
        root.listID = id
        nameField.text = id.length > 0 ? root.library.personalListsModel.nameOf(id) : ""
        root.error = ""
        open()
        nameField.field.forceActiveFocus()
    }
    function confirm() {
        if (!root.canConfirm)
            return
        const lists = root.library.personalListsModel
        if (root.creating) {
            const created = lists.create(nameField.text)
            if (created.error !== undefined) {
                root.error = created.error
                return
            }
            close()
            root.library.openPersonalList(created.id)
        } else {
            const refusal = lists.rename(root.listID, nameField.text)
            if (refusal.length > 0) {
                root.error = refusal
                return
            }
            close()
        }
    }

    objectName: "personalListNameEditor"
    width: 430
    padding: 28
    onCancelRequested: close()
    onConfirmRequested: confirm()

    contentItem: ColumnLayout {
        spacing: 18

        Label {
            objectName: "nameEditorTitle"
            text: root.creating ? "Crea una llista personal" : "Canvia el nom"
            font.pixelSize: Theme.title2Size
            font.weight: Font.DemiBold
            color: Theme.primaryText
        }
        Label {
            text: "Agrupa canals de TV i categories de sèries o pel·lícules. No cal cap URL."
            font.pixelSize: Theme.bodySize
            color: Theme.secondaryText
            wrapMode: Text.Wrap
            Layout.fillWidth: true
        }
        FormField {
            id: nameField

            objectName: "listNameField"
            label: "Nom de la llista personal"
            placeholderText: "Anglès amb subtítols"
            Layout.fillWidth: true
        }
        Label {
            objectName: "nameEditorError"
            visible: text.length > 0
            text: root.error
            font.pixelSize: Theme.calloutSize
            color: Theme.warning
            wrapMode: Text.Wrap
            Layout.fillWidth: true
        }
        SheetButtons {
            confirmText: root.creating ? "Crea la llista" : "Desa"
            confirmEnabled: root.canConfirm
            Layout.fillWidth: true
            onCancelled: root.close()
            onConfirmed: root.confirm()
        }
    }
}
