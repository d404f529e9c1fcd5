#include "CommandLine.h"
#include "artwork/CatalogArtwork.h"
#include "models/LibraryModel.h"

#include <QGuiApplication>
#include <QIcon>
#include <QLoggingCategory>
#include <QQmlApplicationEngine>
#include <QQuickStyle>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace {
Q_LOGGING_CATEGORY(lcApp, "quenvo.app")
}

int main(int argc, char *argv[])
{
    QGuiApplication app(argc, argv);
    QGuiApplication::setApplicationName(u"Quenvo"_s);
    QGuiApplication::setOrganizationName(u"Quenvo"_s);
    QGuiApplication::setOrganizationDomain(u"quenvo.app"_s);
    QGuiApplication::setApplicationVersion(QStringLiteral(QUENVO_VERSION));
    QGuiApplication::setDesktopFileName(u"app.quenvo.Quenvo"_s);
    QGuiApplication::setWindowIcon(QIcon(u":/Quenvo/desktop/quenvo.svg"_s));
    QQuickStyle::setStyle(u"Basic"_s);

    const CommandLine::Playlists playlists = CommandLine::playlists(QCoreApplication::arguments().mid(1));
    for (const QString &ignored : playlists.ignored) {
        // An address may carry a user name and password: they never reach the log.
        qCWarning(lcApp).noquote() << "Ignoring" << QUrl(ignored).toDisplayString(QUrl::RemoveUserInfo)
                                   << "- the command line takes HTTP or HTTPS playlist addresses only, without a"
                                      " user name or password in them";
    }

    // The one library model of the run; it outlives the views that observe it.
    LibraryModel library;

    QQmlApplicationEngine engine;
    // Qt 6.4 resolves the module's singletons only from its resource path.
    engine.addImportPath(u"qrc:/"_s);
    CatalogArtwork::install(engine);
    QObject::connect(&engine, &QQmlApplicationEngine::objectCreationFailed, &app,
                     [] { QCoreApplication::exit(1); }, Qt::QueuedConnection);
    engine.setInitialProperties({{u"library"_s, QVariant::fromValue(&library)}});
    engine.load(QUrl(u"qrc:/Quenvo/views/Main.qml"_s));
    if (engine.rootObjects().isEmpty())
        return 1;

    CommandLine::open(library, playlists.sources);
    return QGuiApplication::exec();
}
