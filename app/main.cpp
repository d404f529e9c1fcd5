#include "CommandLine.h"
#include "artwork/CatalogArtwork.h"
#include "desktop/Mpris.h"
#include "desktop/QtTexts.h"
#include "desktop/ScreenSaverInhibitor.h"
#include "desktop/SingleInstance.h"
#include "desktop/WindowState.h"
#include "models/LibraryModel.h"

#include <QGuiApplication>
#include <QIcon>
#include <QLoggingCategory>
#include <QQmlApplicationEngine>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QSettings>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace {
Q_LOGGING_CATEGORY(lcApp, "quenvo.app")

// Brings the window to the front, out of the taskbar if it was minimised.
void raise(QWindow *window)
{
    window->setWindowStates(window->windowStates() & ~Qt::WindowMinimized);
    window->show();
    window->raise();
    window->requestActivate();
}
} // namespace

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
    QtTexts::installCatalan(app);

    const CommandLine::Playlists playlists = CommandLine::playlists(QCoreApplication::arguments().mid(1));
    for (const QString &ignored : playlists.ignored) {
        // An address may carry a user name and password: they never reach the log.
        qCWarning(lcApp).noquote() << "Ignoring" << QUrl(ignored).toDisplayString(QUrl::RemoveUserInfo)
                                   << "- the command line takes HTTP or HTTPS playlist addresses and playlist"
                                      " files only, without a user name or password in them";
    }

    // A Quenvo already running in this session takes the playlists and comes to the front.
    SingleInstance instance;
    if (instance.start(playlists.addresses()) == SingleInstance::Role::forwarded)
        return 0;

    // The one library model of the run; it outlives the views that observe it.
    LibraryModel library;
    QSettings preferences;
    WindowState windowState(preferences);

    QQmlApplicationEngine engine;
    // Qt 6.4 resolves the module's singletons only from its resource path.
    engine.addImportPath(u"qrc:/"_s);
    CatalogArtwork::install(engine);
    QObject::connect(&engine, &QQmlApplicationEngine::objectCreationFailed, &app,
                     [] { QCoreApplication::exit(1); }, Qt::QueuedConnection);
    QVariantMap initialProperties = windowState.initialProperties();
    initialProperties.insert(u"library"_s, QVariant::fromValue(&library));
    engine.setInitialProperties(initialProperties);
    engine.load(QUrl(u"qrc:/Quenvo/views/Main.qml"_s));
    if (engine.rootObjects().isEmpty())
        return 1;
    auto *window = qobject_cast<QQuickWindow *>(engine.rootObjects().constFirst());
    windowState.follow(window);

    const auto open = [&library, window](const QStringList &addresses) {
        raise(window);
        CommandLine::open(library, CommandLine::playlists(addresses).sources);
    };
    QObject::connect(&instance, &SingleInstance::openRequested, &app, open);

    Mpris mpris(library);
    QObject::connect(&mpris, &Mpris::raiseRequested, &app, [window] { raise(window); });
    QObject::connect(&mpris, &Mpris::quitRequested, window, &QWindow::close);
    QObject::connect(&mpris, &Mpris::openRequested, &app, open);
    mpris.start();

    ScreenSaverInhibitor screenSaver;
    screenSaver.follow(library);

    CommandLine::open(library, playlists.sources);
    const int status = QGuiApplication::exec();
    windowState.save();
    return status;
}
