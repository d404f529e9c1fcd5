// quenvo-bench-playback: what the library model adds to libVLC when the user zaps, and whether
// rapid zapping leaks.
//   quenvo-bench-playback [--runs 5] [--switches 200]
//
// Zapping: from the play command to the first picture libVLC counts as displayed, for a live MPEG-TS
// channel of the local provider on 127.0.0.1. The same URL and the same player options are played
// alternately by bare libVLC (the baseline, called directly: nothing else in the project includes it)
// and by LibraryModel::play (a fresh player per start, memory video output, frames handed to the main
// thread). Both are polled every 2 ms on the main thread. Medians and the overhead are printed.
//
// Endurance: `switches` channel changes every 100–300 ms across regular, HLS, audio-only, stalled
// and missing channels; prints the resident memory every 50 switches, then checks that every retired
// player was released and that only the current one is alive.

#include "DurationSamples.h"

#include "MediaPlayer.h"
#include "ProviderServer.h"
#include "models/LibraryModel.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <QTextStream>
#include <QThread>

#include <vlc/vlc.h>

#include <memory>
#include <random>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

QTextStream out(stdout);

double residentMegabytes()
{
    QFile status(u"/proc/self/statm"_s);
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> fields = status.readAll().split(' ');
    return fields.size() > 1 ? fields.at(1).toDouble() * 4096 / (1024 * 1024) : 0;
}

// Waits, polling every 2 ms and keeping the event loop running, until `done` or `timeoutMs`.
template<typename Predicate> bool pollUntil(Predicate done, int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < timeoutMs) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
        // As the application's event loop would: players let go with deleteLater() are released.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        if (done())
            return true;
        QThread::msleep(2);
    }
    return false;
}

// Bare libVLC: a new instance and player with the same options, media from the URL, play, and the
// first displayed picture. Video goes to a memory output that drops every picture, as there is no
// window here either.
double bareFirstPicture(const QByteArray &url, const QStringList &options)
{
    std::vector<QByteArray> storage;
    std::vector<const char *> argv;
    for (const QString &option : options)
        storage.push_back(option.toUtf8());
    for (const QByteArray &option : storage)
        argv.push_back(option.constData());

    QElapsedTimer timer;
    timer.start();
    libvlc_instance_t *instance = libvlc_new(int(argv.size()), argv.data());
    libvlc_media_player_t *player = libvlc_media_player_new(instance);
    static std::vector<unsigned char> frame(4096 * 2304 * 4);
    libvlc_video_set_callbacks(
        player,
        [](void *, void **planes) -> void * {
            planes[0] = frame.data();
            return nullptr;
        },
        nullptr, nullptr, nullptr);
    libvlc_video_set_format(player, "RV32", 640, 360, 640 * 4);
    libvlc_media_t *media = libvlc_media_new_location(instance, url.constData());
    libvlc_media_player_set_media(player, media);
    libvlc_media_player_play(player);
    libvlc_media_stats_t stats{};
    const bool shown = pollUntil(
        [&] { return libvlc_media_get_stats(media, &stats) && stats.i_displayed_pictures > 0; }, 15000);
    const double elapsed = double(timer.nsecsElapsed()) / 1e6;
    libvlc_media_player_stop(player);
    libvlc_media_release(media);
    libvlc_media_player_release(player);
    libvlc_release(instance);
    return shown ? elapsed : -1;
}

double modelFirstPicture(LibraryModel &model, const Channel &channel)
{
    QElapsedTimer timer;
    timer.start();
    model.play(channel, false);
    const bool shown = pollUntil([&] { return model.player()->statistics().displayedPictures > 0; }, 15000);
    const double elapsed = double(timer.nsecsElapsed()) / 1e6;
    model.stop();
    return shown ? elapsed : -1;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.addOption({u"runs"_s, u"Zapping runs of each player."_s, u"n"_s, u"5"_s});
    parser.addOption({u"switches"_s, u"Channel changes in the endurance run."_s, u"n"_s, u"200"_s});
    parser.addHelpOption();
    parser.process(application);
    const int runs = parser.value(u"runs"_s).toInt();
    const int switches = parser.value(u"switches"_s).toInt();

    // No sound device here: both players count audio through the dummy output.
    MediaPlayer::setExtraOptionsForTesting({u"--aout=dummy"_s});
    QStringList options = MediaPlayer::standardOptions();
    options.append(u"--aout=dummy"_s);

    ProviderOptions providerOptions;
    providerOptions.liveChannels = 24;
    ProviderServer provider(providerOptions);
    if (!provider.start() || !provider.mediaAvailable()) {
        out << "bench-playback: the local provider has no media: " << provider.mediaError() << Qt::endl;
        return 1;
    }
    const ProviderCatalog &catalog = provider.catalog();
    auto channelOf = [&](ProviderCatalog::LiveKind kind, int index = -1) {
        const int at = index >= 0 ? index : catalog.liveChannelIndex(kind);
        const QString extension = kind == ProviderCatalog::LiveKind::hls ? u"m3u8"_s : u"ts"_s;
        const QUrl url = provider.url(u"/live/demo/demo/%1.%2"_s.arg(catalog.liveChannelID(at)).arg(extension));
        return Channel(catalog.liveChannelName(at), QString(), url, false);
    };

    QTemporaryDir scratch;
    QSettings preferences(scratch.filePath(u"preferences.ini"_s), QSettings::IniFormat);
    LibraryModel::Environment environment;
    environment.preferences = &preferences;
    environment.keychainService = u"bench.quenvo.playback"_s;
    environment.pollPlayback = false;
    LibraryModel model(environment);

    // --- zapping ---
    const Channel live = channelOf(ProviderCatalog::LiveKind::regular, 0);
    const QByteArray url = live.url().toEncoded();
    DurationSamples bare;
    DurationSamples ours;
    bareFirstPicture(url, options); // first run of each: plug-in cache and page faults
    modelFirstPicture(model, live);
    for (int run = 0; run < runs; ++run) {
        const double b = bareFirstPicture(url, options);
        const double m = modelFirstPicture(model, live);
        if (b < 0 || m < 0) {
            out << "bench-playback: no picture within 15 s" << Qt::endl;
            return 1;
        }
        bare.add(qint64(b * 1e6));
        ours.add(qint64(m * 1e6));
    }
    out << "Zapping (play → first displayed picture, live TS on loopback, " << runs << " runs each)" << Qt::endl;
    out << "  bare libVLC:      median " << bare.medianMilliseconds() << " ms, best " << bare.bestMilliseconds() << " ms" << Qt::endl;
    out << "  LibraryModel:     median " << ours.medianMilliseconds() << " ms, best " << ours.bestMilliseconds() << " ms" << Qt::endl;
    out << "  overhead:         " << ours.medianMilliseconds() - bare.medianMilliseconds() << " ms (target at most 50 ms)" << Qt::endl;

    // --- endurance ---
    std::vector<Channel> channels;
    for (int index = 0; index < 4; ++index)
        channels.push_back(channelOf(ProviderCatalog::LiveKind::regular, index));
    for (const ProviderCatalog::LiveKind kind : {ProviderCatalog::LiveKind::hls, ProviderCatalog::LiveKind::radio,
                                                 ProviderCatalog::LiveKind::stalled, ProviderCatalog::LiveKind::missing})
        channels.push_back(channelOf(kind));

    int alive = 1; // the model's current player
    auto watch = [&] { QObject::connect(model.player(), &QObject::destroyed, [&] { --alive; }); };
    watch();
    QObject::connect(&model, &LibraryModel::playerChanged, [&] {
        ++alive;
        watch();
    });
    std::mt19937 random(7);
    std::uniform_int_distribution<int> pause(100, 300);
    std::uniform_int_distribution<std::size_t> pick(0, channels.size() - 1);
    out << "Endurance: " << switches << " switches every 100–300 ms" << Qt::endl;
    out << "  resident at start: " << residentMegabytes() << " MB" << Qt::endl;
    double afterTwenty = 0;
    double last = 0;
    for (int change = 1; change <= switches; ++change) {
        model.play(channels.at(pick(random)), false);
        const int wait = pause(random);
        pollUntil([] { return false; }, wait);
        model.tick();
        if (change == 20 || change % 50 == 0) {
            last = residentMegabytes();
            if (change == 20)
                afterTwenty = last;
            out << "  after " << change << " switches: " << last << " MB, players alive " << alive
                << ", retiring " << model.retiringPlayerCount() << Qt::endl;
        }
    }
    if (afterTwenty > 0) {
        const double growth = 100.0 * (last - afterTwenty) / afterTwenty;
        out << "  growth since 20 switches: " << QString::number(growth, 'f', 1) << " % (target at most 10 %: "
            << (growth <= 10 ? "met" : "NOT met") << ")" << Qt::endl;
    }
    model.stop();
    pollUntil([&] { return model.retiringPlayerCount() == 0; }, 10000);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    pollUntil([&] { return alive == 1; }, 2000);
    out << "  settled: players alive " << alive << " (1 expected: the idle current one), retiring "
        << model.retiringPlayerCount() << ", resident " << residentMegabytes() << " MB" << Qt::endl;
    return alive == 1 && model.retiringPlayerCount() == 0 ? 0 : 1;
}
