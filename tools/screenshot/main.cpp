// quenvo-screenshot OUTPUT.png PLAYLIST_ADDRESS…
//
// Shows Quenvo's main window (the application's own QML on a library model), opens the playlists as
// the application does from its command line, plays the first channel, waits until pictures arrive
// and writes the window to OUTPUT.png. The first-run script uses it on machines without a display,
// under Xvfb; the application itself has no such option.

#include "CommandLine.h"
#include "artwork/CatalogArtwork.h"
#include "models/LibraryModel.h"

#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QSettings>
#include <QTemporaryDir>
#include <QDeadlineTimer>
#include <QThread>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

int fail(const QString &message)
{
    std::fprintf(stderr, "quenvo-screenshot: %s\n", qPrintable(message));
    return 1;
}

// Runs the event loop until `done` holds or `milliseconds` pass; says whether it holds.
template<typename Predicate> bool waitFor(Predicate done, int milliseconds)
{
    const QDeadlineTimer deadline(milliseconds);
    while (!done()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
        QThread::msleep(10);
    }
    return true;
}

} // namespace

int main(int argc, char *argv[])
{
    QGuiApplication app(argc, argv);
    QGuiApplication::setApplicationName(u"Quenvo"_s);
    QGuiApplication::setOrganizationName(u"Quenvo"_s);
    QQuickStyle::setStyle(u"Basic"_s);

    const QStringList arguments = QCoreApplication::arguments().mid(1);
    if (arguments.size() < 2)
        return fail(u"usage: quenvo-screenshot OUTPUT.png PLAYLIST_ADDRESS…"_s);
    const QString output = arguments.first();
    const CommandLine::Playlists playlists = CommandLine::playlists(arguments.mid(1));
    if (playlists.sources.isEmpty())
        return fail(u"no HTTP or HTTPS playlist address given"_s);

    // Preferences of its own: a screenshot leaves no favourites or start connection behind.
    QTemporaryDir scratch;
    QSettings preferences(scratch.filePath(u"preferences.ini"_s), QSettings::IniFormat);
    LibraryModel::Environment environment;
    environment.preferences = &preferences;
    environment.keychainService = u"app.quenvo.Quenvo.screenshot"_s;
    LibraryModel library(environment);

    QQmlApplicationEngine engine;
    engine.addImportPath(u"qrc:/"_s);
    CatalogArtwork::install(engine);
    engine.setInitialProperties({{u"library"_s, QVariant::fromValue(&library)}});
    engine.load(QUrl(u"qrc:/Quenvo/views/Main.qml"_s));
    auto *window = engine.rootObjects().isEmpty() ? nullptr
                                                  : qobject_cast<QQuickWindow *>(engine.rootObjects().constFirst());
    if (!window)
        return fail(u"the main window did not load"_s);

    CommandLine::open(library, playlists.sources);
    if (!waitFor([&] { return !library.isLoading() && library.channelCount() > 0; }, 60000))
        return fail(u"no channels: "_s + library.notice().value_or(u"the playlist did not load"_s));

    library.playAt(0);
    if (!waitFor([&] { return !library.waiting() || library.playbackError(); }, 40000) || library.playbackError())
        return fail(u"the first channel did not play: "_s + library.playbackError().value_or(u"no pictures"_s));
    // A few more frames, so that the picture is a settled one.
    const QDeadlineTimer settled(1500);
    waitFor([&] { return settled.hasExpired(); }, 2000);

    if (!window->grabWindow().save(output))
        return fail(u"cannot write "_s + output);
    std::printf("%s\n", qPrintable(output));

    window->close();
    return 0;
}
