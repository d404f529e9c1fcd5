#include "QtTexts.h"

#include "DesktopLogging.h"

#include <QCoreApplication>
#include <QTranslator>

namespace QtTexts {

bool installCatalan(QCoreApplication &application)
{
    auto *translator = new QTranslator(&application);
    if (!translator->load(QStringLiteral(":/i18n/qt_ca.qm")) || !QCoreApplication::installTranslator(translator)) {
        qCWarning(lcDesktop) << "Qt's own texts stay in English: the Catalan catalogue is missing";
        delete translator;
        return false;
    }
    return true;
}

} // namespace QtTexts
