#pragma once

class QCoreApplication;

// Qt's own texts — standard buttons, the file and message dialogs of Qt Quick Dialogs — in Catalan,
// from the catalogue built into the program (translations/qt_ca.ts).
namespace QtTexts {

// Installs the catalogue on `application` (which owns it); false if it could not be loaded.
bool installCatalan(QCoreApplication &application);

} // namespace QtTexts
