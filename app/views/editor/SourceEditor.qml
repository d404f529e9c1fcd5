import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quenvo

// The sheet that adds or edits a connection. It is open while the model's `editingSource` is set and
// edits a copy of it; "Connecta" validates the copy and lets the model test it by loading its channels.
// Success closes the sheet (the model clears `editingSource`); a failed load leaves it open.
Popup {
    id: root

    required property LibraryModel library

    property string kind: "m3u"
    property bool save: true
    property string error
    // Whether this opening has sent the connection to the model: from then on its notice is ours too.
    property bool attempted: false
    // Any load in progress shows on the primary button, this sheet's own or another one.
    readonly property bool checking: library.isLoading
    readonly property bool isXtream: kind === "xtream"
    readonly property bool insecure: addressField.text.toLowerCase().startsWith("http://")

    function connect() {
        if (root.checking && root.attempted)
            return
        // What the model stores is trimmed: the fields show it too.
        nameField.text = nameField.text.trim()
        addressField.text = addressField.text.trim()
        root.error = root.library.connectEditedSource(root.kind, nameField.text, addressField.text,
                                                      usernameField.text, passwordField.text, root.save)
        root.attempted = root.error.length === 0
    }
    function cancel() {
        root.library.closeEditor()
    }
    // Every opening starts from the connection being edited, saving on, and no message.
    function reset() {
        const source = root.library.editingSource
        if (source === undefined)
            return
        root.kind = source.kind
        nameField.text = source.name
        addressField.text = source.address
        usernameField.text = source.username
        passwordField.text = source.password
        root.save = true
        root.error = ""
        root.attempted = false
        nameField.field.forceActiveFocus()
    }

    objectName: "sourceEditor"
    modal: true
    focus: true
    anchors.centerIn: Overlay.overlay
    width: 520
    padding: Theme.spacingHuge
    // A sheet: it closes through its buttons (and Escape for "Cancel·la"), never by a click beside it.
    closePolicy: Popup.NoAutoClose
    onAboutToShow: reset()
    Component.onCompleted: if (library.editingSource !== undefined) open()

    Connections {
        target: root.library
        function onEditingSourceChanged() {
            if (root.library.editingSource === undefined)
                root.close()
            else if (root.visible)
                root.reset()   // ⌘N while the sheet is open starts again on the new connection
            else
                root.open()
        }
    }

    Shortcut {
        sequence: "Escape"
        enabled: root.visible
        onActivated: root.cancel()
    }
    Shortcut {
        sequences: ["Return", "Enter"]
        enabled: root.visible
        onActivated: root.connect()
    }

    Overlay.modal: Rectangle {
        color: Qt.rgba(0, 0, 0, 0.45)
    }
    background: Rectangle {
        color: Theme.panel
        radius: Theme.radiusLarge
        border.width: 1
        border.color: Theme.separator
    }

    contentItem: ColumnLayout {
        spacing: Theme.spacing + 2

        RowLayout {
            spacing: Theme.spacingSmall + 2

            Icon {
                name: "link"
                size: Theme.iconLarge
                color: Theme.mint
            }
            Label {
                text: "Connecta el teu contingut"
                font.pixelSize: Theme.title2Size
                font.weight: Font.Bold
                color: Theme.primaryText
            }
        }
        Label {
            text: "Configura una llista o un servidor. Pots desar la connexió al Clauer o utilitzar-la només durant aquesta sessió."
            font.pixelSize: Theme.calloutSize
            color: Theme.secondaryText
            wrapMode: Text.Wrap
            Layout.fillWidth: true
        }

        // Tipus
        Rectangle {
            objectName: "kindPicker"
            Accessible.role: Accessible.PageTabList
            Accessible.name: "Tipus"
            color: Theme.fieldBackground
            radius: Theme.radius
            implicitHeight: 32
            Layout.fillWidth: true
            Layout.topMargin: Theme.spacingTiny

            RowLayout {
                anchors.fill: parent
                anchors.margins: 3
                spacing: 3

                Repeater {
                    model: [{ kind: "m3u", title: "URL M3U" }, { kind: "xtream", title: "Xtream Codes" }]
                    delegate: AbstractButton {
                        id: kindButton

                        required property var modelData
                        readonly property bool selected: root.kind === modelData.kind

                        objectName: "kind_" + modelData.kind
                        text: modelData.title
                        checkable: true
                        checked: selected
                        Accessible.role: Accessible.PageTab
                        Accessible.name: text
                        Layout.fillWidth: true
                        Layout.fillHeight: true
                        onClicked: root.kind = modelData.kind

                        contentItem: Label {
                            text: kindButton.text
                            font.pixelSize: Theme.calloutSize
                            font.weight: kindButton.selected ? Font.DemiBold : Font.Normal
                            color: kindButton.selected ? Theme.textOnMint : Theme.secondaryText
                            horizontalAlignment: Text.AlignHCenter
                            verticalAlignment: Text.AlignVCenter
                        }
                        background: Rectangle {
                            radius: Theme.radiusSmall
                            color: kindButton.selected ? Theme.mint : kindButton.hovered ? Theme.hover : "transparent"
                        }
                    }
                }
            }
        }

        FormField {
            id: nameField

            objectName: "nameField"
            label: "Nom de la llista"
            placeholderText: "La meva llista"
            Layout.fillWidth: true
        }
        FormField {
            id: addressField

            objectName: "addressField"
            label: root.isXtream ? "Servidor" : "URL M3U"
            placeholderText: root.isXtream ? "https://servidor.example:8080" : "https://proveidor.example/llista.m3u"
            field.inputMethodHints: Qt.ImhUrlCharactersOnly | Qt.ImhNoAutoUppercase
            Layout.fillWidth: true
        }
        RowLayout {
            spacing: Theme.spacing
            Layout.fillWidth: true

            FormField {
                id: usernameField

                objectName: "usernameField"
                label: "Usuari"
                placeholderText: root.isXtream ? "Usuari del servidor" : "Opcional · HTTP Basic"
                field.inputMethodHints: Qt.ImhNoAutoUppercase
                Layout.fillWidth: true
                Layout.preferredWidth: 1
            }
            FormField {
                id: passwordField

                objectName: "passwordField"
                label: "Contrasenya"
                echoMode: TextInput.Password
                Layout.fillWidth: true
                Layout.preferredWidth: 1
            }
        }
        Label {
            objectName: "kindHelp"
            text: root.isXtream
                  ? "Adreça base del servidor, sense player_api.php ni get.php. Admet TV en directe, pel·lícules i sèries amb temporades i episodis."
                  : "Les credencials HTTP Basic s’apliquen a la descàrrega de la llista; els canals han de tenir les seves pròpies URLs autoritzades."
            font.pixelSize: Theme.subheadlineSize
            color: Theme.secondaryText
            wrapMode: Text.Wrap
            Layout.fillWidth: true
        }

        ToggleSwitch {
            id: saveSwitch

            objectName: "saveSwitch"
            text: "Desa la connexió al Clauer"
            checked: root.save
            onToggled: root.save = checked
            Layout.topMargin: Theme.spacingTiny
        }
        Label {
            objectName: "memoryNote"
            visible: !root.save
            text: "Les credencials es mantindran només en memòria fins que tanquis l’aplicació."
            font.pixelSize: Theme.subheadlineSize
            color: Theme.secondaryText
            wrapMode: Text.Wrap
            Layout.fillWidth: true
        }

        RowLayout {
            objectName: "httpWarning"
            visible: root.insecure
            spacing: Theme.spacingSmall
            Layout.fillWidth: true

            Icon {
                name: "lock.open"
                size: Theme.iconSize
                color: Theme.warning
                Layout.alignment: Qt.AlignTop
            }
            Label {
                text: "Amb HTTP, les credencials viatgen sense xifrar. Utilitza HTTPS si el servidor ho admet."
                font.pixelSize: Theme.subheadlineSize
                color: Theme.warning
                wrapMode: Text.Wrap
                Layout.fillWidth: true
            }
        }
        TextEdit {
            objectName: "editorError"
            visible: text.length > 0
            // A validation message, or what the model reported for the last check.
            text: root.error.length > 0 ? root.error
                                        : root.attempted && !root.library.isLoading ? root.library.notice : ""
            readOnly: true
            selectByMouse: true
            wrapMode: Text.Wrap
            color: Theme.destructive
            selectionColor: Theme.mint
            selectedTextColor: Theme.textOnMint
            font.pixelSize: Theme.calloutSize
            Layout.fillWidth: true
        }

        RowLayout {
            spacing: Theme.spacingSmall
            Layout.topMargin: Theme.spacingSmall
            Layout.alignment: Qt.AlignRight

            SecondaryButton {
                objectName: "cancelButton"
                text: "Cancel·la"
                onClicked: root.cancel()
            }
            MintButton {
                id: connectButton

                objectName: "connectButton"
                text: root.checking ? "Comprovant la connexió…"
                                    : root.save ? "Connecta i desa" : "Connecta sense desar"
                // Room for the progress indicator while the connection is checked.
                leftPadding: Theme.mintButtonHorizontalPadding + (root.checking ? 22 : 0)
                onClicked: root.connect()

                BusyIndicator {
                    objectName: "connectProgress"
                    visible: root.checking
                    running: visible
                    x: Theme.mintButtonHorizontalPadding - 2
                    anchors.verticalCenter: parent.verticalCenter
                    width: 20
                    height: 20
                    palette.dark: Theme.textOnMint
                }
            }
        }
    }
}
