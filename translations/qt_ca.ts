<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ca">
<!-- Qt's own texts that Quenvo's window can show (standard buttons, the file dialog of Qt Quick
     Dialogs, the message dialog) in Catalan: Debian 12 ships no Qt 6 translations. Compiled with
     lrelease into the application's resources. -->
<context>
    <name>QPlatformTheme</name>
    <message>
        <source>OK</source>
        <translation>D’acord</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>Desa</translation>
    </message>
    <message>
        <source>Save All</source>
        <translation>Desa-ho tot</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Obre</translation>
    </message>
    <message>
        <source>&amp;Yes</source>
        <translation>&amp;Sí</translation>
    </message>
    <message>
        <source>Yes to &amp;All</source>
        <translation>Sí a &amp;tot</translation>
    </message>
    <message>
        <source>&amp;No</source>
        <translation>&amp;No</translation>
    </message>
    <message>
        <source>N&amp;o to All</source>
        <translation>N&amp;o a tot</translation>
    </message>
    <message>
        <source>Abort</source>
        <translation>Interromp</translation>
    </message>
    <message>
        <source>Retry</source>
        <translation>Torna-ho a provar</translation>
    </message>
    <message>
        <source>Ignore</source>
        <translation>Ignora</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Tanca</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Cancel·la</translation>
    </message>
    <message>
        <source>Discard</source>
        <translation>Descarta</translation>
    </message>
    <message>
        <source>Help</source>
        <translation>Ajuda</translation>
    </message>
    <message>
        <source>Apply</source>
        <translation>Aplica</translation>
    </message>
    <message>
        <source>Reset</source>
        <translation>Restableix</translation>
    </message>
    <message>
        <source>Restore Defaults</source>
        <translation>Restaura els valors per defecte</translation>
    </message>
</context>
<context>
    <name>FileDialog</name>
    <message>
        <source>File name</source>
        <translation>Nom del fitxer</translation>
    </message>
    <message>
        <source>Filter</source>
        <translation>Filtre</translation>
    </message>
</context>
<context>
    <name>MessageDialog</name>
    <message>
        <source>Show Details...</source>
        <translation>Mostra els detalls…</translation>
    </message>
    <message>
        <source>Hide Details...</source>
        <translation>Amaga els detalls…</translation>
    </message>
</context>
</TS>
