// quenvo-provider: a local IPTV provider to try the player against, with no subscription.
#include "ProviderServer.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QLoggingCategory>
#include <QSocketNotifier>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

int signalPipe[2] = {-1, -1};

void forwardSignal(int)
{
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = ::write(signalPipe[1], &byte, 1);
}

// SIGINT and SIGTERM end the event loop, so everything is torn down in order.
bool quitOnSignals(QCoreApplication &app)
{
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, signalPipe) != 0)
        return false;
    auto *notifier = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, &app);
    QObject::connect(notifier, &QSocketNotifier::activated, &app, [notifier] {
        notifier->setEnabled(false);
        char byte = 0;
        [[maybe_unused]] const ssize_t read = ::read(signalPipe[0], &byte, 1);
        QCoreApplication::quit();
    });
    struct sigaction action = {};
    action.sa_handler = forwardSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    return ::sigaction(SIGINT, &action, nullptr) == 0 && ::sigaction(SIGTERM, &action, nullptr) == 0;
}

void print(const QString &text)
{
    std::fputs(text.toUtf8().constData(), stdout);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(u"quenvo-provider"_s);

    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"A local IPTV provider (M3U, Xtream, live and on-demand media) on 127.0.0.1."_s);
    parser.addHelpOption();
    const ProviderOptions defaults;
    const QCommandLineOption port(
        u"port"_s, u"TCP port on 127.0.0.1 (0: any free port)."_s, u"N"_s, u"8765"_s);
    const QCommandLineOption channels(u"channels"_s, u"Live channels, the five test channels included."_s,
        u"N"_s, QString::number(defaults.liveChannels));
    const QCommandLineOption movies(u"movies"_s, u"Movies."_s, u"N"_s, QString::number(defaults.movies));
    const QCommandLineOption series(u"series"_s, u"Series."_s, u"N"_s, QString::number(defaults.series));
    const QCommandLineOption categories(
        u"categories"_s, u"Categories per section."_s, u"N"_s, QString::number(defaults.categories));
    const QCommandLineOption seed(
        u"seed"_s, u"Seed of the generated catalogue."_s, u"N"_s, QString::number(defaults.seed));
    const QCommandLineOption media(u"media"_s, u"Folder of the generated media cache."_s, u"DIR"_s,
        ProviderOptions::defaultMediaFolder());
    const QCommandLineOption verbose(u"verbose"_s, u"Log one line per request to stderr."_s);
    parser.addOptions({port, channels, movies, series, categories, seed, media, verbose});
    parser.process(app);

    const auto count = [&](const QCommandLineOption &option, qint64 maximum) -> qint64 {
        bool valid = false;
        const qint64 value = parser.value(option).toLongLong(&valid);
        if (!valid || value < 0 || value > maximum) {
            std::fprintf(stderr, "--%s: expected a number from 0 to %lld\n",
                qPrintable(option.names().constFirst()), static_cast<long long>(maximum));
            std::exit(2);
        }
        return value;
    };
    ProviderOptions options;
    options.liveChannels = int(count(channels, 1'000'000));
    options.movies = int(count(movies, 1'000'000));
    options.series = int(count(series, 1'000'000));
    options.categories = int(count(categories, 10'000));
    options.seed = quint64(count(seed, std::numeric_limits<qint64>::max()));
    options.mediaFolder = parser.value(media);
    const auto listenPort = quint16(count(port, 65535));
    if (parser.isSet(verbose))
        QLoggingCategory::setFilterRules(u"quenvo.provider.info=true"_s);

    if (!quitOnSignals(app))
        std::fprintf(stderr, "warning: Ctrl+C will not stop the server cleanly\n");

    print(u"Preparing media in "_s + options.mediaFolder + u" …\n"_s);
    ProviderServer server(options);
    if (!server.start(listenPort)) {
        std::fprintf(stderr, "cannot listen on 127.0.0.1:%u: %s\n", unsigned(listenPort),
            qPrintable(server.errorString()));
        return 1;
    }
    const ProviderCatalog &catalog = server.catalog();
    const QString base = server.baseURL().toString();
    QString text;
    text += u"\nQuenvo local provider on "_s + base + u"\n\n"_s;
    text += u"  M3U playlist            "_s + base + u"/playlist.m3u\n"_s;
    text += u"  M3U with Basic auth     "_s + base + u"/protected.m3u   (user demo, password demo)\n"_s;
    text += u"  HLS stream as playlist  "_s + base + u"/hls.m3u8\n"_s;
    text += u"  Xtream server           "_s + base + u'\n';
    text
        += u"    accounts              demo / demo (m3u8, ts)   tsonly / tsonly (ts)   expired / expired\n"_s;
    text += u"    example               "_s + base + u"/player_api.php?username=demo&password=demo\n\n"_s;
    text += u"  Catalogue               "_s + QString::number(catalog.liveChannelCount())
        + u" live channels, "_s + QString::number(catalog.movieCount()) + u" movies, "_s
        + QString::number(catalog.seriesCount()) + u" series (seed "_s + QString::number(options.seed)
        + u")\n"_s;
    text += u"  Media                   "_s
        + (server.mediaAvailable() ? u"ready in "_s + server.mediaFolder()
                                   : u"none: "_s + server.mediaError())
        + u"\n\nPress Ctrl+C to stop.\n"_s;
    print(text);

    const int status = app.exec();
    server.stop();
    print(u"Stopped.\n"_s);
    return status;
}
