// quenvo-bench-load: a connection loaded end to end the way the main window loads it, and how long
// the main thread is held meanwhile.
//   quenvo-bench-load [--runs 5] [--m3u-channels 100000] [--xtream-channels 50000]
//
// Two local providers run in this process without media (answers from threads of their own): one
// whose playlist.m3u lists 100,000 channels, one whose demo Xtream account lists 50,000. For each:
// - the parts alone, each the median of the timed runs after a first one: the download (the one
//   M3U request; for Xtream the account check and the category and stream lists), the UTF-8 decoding
//   (M3U only: the Xtream reader validates inside its reading), the parsing (M3UParser::parseListing;
//   XtreamReaders::liveCategories + liveStreams), and publishing the parsed list (what the library
//   model does with it before its rows are on screen, and the folding of the names that follows);
// - the whole load: LibraryModel::load of the connection, as "Actualitza" does, on one library model
//   with its channel list, categories, favourites and guide (100 favourites of the connection are
//   stored beforehand), from the call to the moment the model is no longer loading with every row in
//   its channel list; the next run replaces the previous run's channels, as a reload does, but finds
//   no guide on disk, as a first load of the day;
// - the main thread's longest stall: a 1 ms timer on the main thread measures its own lateness from
//   the call until the names are folded for the search and the guide that the list names has been
//   read and matched (and at least 200 ms after the rows). A stall is the wall time between two ticks
//   beyond the 1 ms; the main thread's own CPU time over the same gap says whether it was busy or
//   only waiting for a core (other work on a shared machine).
// The targets: no stall over 16 ms (one frame at 60 Hz) during either load; the whole load at most
// 1.3x the download plus the reading (decode and parse) alone. Exit status 1 only when something does
// not work (a load fails or fills the wrong number of rows), never on a figure.

#include "BenchRun.h"
#include "CpuClock.h"
#include "DurationSamples.h"
#include "ProviderServer.h"

#include "async/Background.h"
#include "http/HTTPClient.h"
#include "m3u/M3UParser.h"
#include "models/ChannelListModel.h"
#include "models/LibraryModel.h"
#include "models/ProgrammeGuide.h"
#include "records/IPTVError.h"
#include "records/JsonFields.h"
#include "records/PlaylistSource.h"
#include "repositories/XtreamReaders.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QCoroTask>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QNetworkRequest>
#include <QSettings>
#include <QStringDecoder>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTimer>

#include <algorithm>
#include <ctime>
#include <functional>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

constexpr double frameMilliseconds = 16.0;
constexpr double overheadTarget = 1.3;

QByteArray download(const QUrl &url)
{
    const HTTPClient::Fetch fetch = HTTPClient::defaultFetch();
    return BenchRun::valueOf(
        fetch(HTTPClient::providerRequest(url), CancellationToken()), u"downloading "_s + url.path())
        .data;
}

template<typename Work> auto timed(int runs, DurationSamples &samples, Work work)
{
    auto result = work(); // the first run: caches, page faults
    for (int run = 0; run < runs; ++run) {
        QElapsedTimer timer;
        timer.start();
        result = work();
        samples.add(timer.nsecsElapsed());
    }
    return result;
}

// Ticks every millisecond on the main thread and keeps the longest gaps between two ticks.
class StallWatch : public QObject
{
public:
    struct Stall
    {
        double atMilliseconds = 0; // when the gap began, from start()
        double wallMilliseconds = 0; // beyond the 1 ms interval
        double cpuMilliseconds = 0; // main thread's CPU time over the gap
    };

    StallWatch()
    {
        m_timer.setTimerType(Qt::PreciseTimer);
        m_timer.setInterval(1);
        connect(&m_timer, &QTimer::timeout, this, &StallWatch::tick);
    }

    void start()
    {
        m_stalls.clear();
        m_clock.start();
        m_lastWall = 0;
        m_lastCpu = CpuClock::threadNanoseconds();
        m_timer.start();
    }
    void stop() { m_timer.stop(); }
    double elapsedMilliseconds() const { return double(m_clock.nsecsElapsed()) / 1e6; }

    // Gaps of at least 2 ms, longest first.
    QList<Stall> stalls() const
    {
        QList<Stall> sorted = m_stalls;
        std::sort(sorted.begin(), sorted.end(),
                  [](const Stall &a, const Stall &b) { return a.wallMilliseconds > b.wallMilliseconds; });
        return sorted;
    }

private:
    void tick()
    {
        const qint64 wall = m_clock.nsecsElapsed();
        const qint64 cpu = CpuClock::threadNanoseconds();
        const double late = double(wall - m_lastWall) / 1e6 - 1.0;
        if (late >= 2.0)
            m_stalls.append({double(m_lastWall) / 1e6, late, double(cpu - m_lastCpu) / 1e6});
        m_lastWall = wall;
        m_lastCpu = cpu;
    }

    QTimer m_timer;
    QElapsedTimer m_clock;
    qint64 m_lastWall = 0;
    qint64 m_lastCpu = 0;
    QList<Stall> m_stalls;
};

// Runs the event loop until `done` holds, checking every millisecond; false after `timeoutMs`.
bool spinUntil(const std::function<bool()> &done, int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    QEventLoop loop;
    QTimer poll;
    poll.setInterval(1);
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        if (done() || timer.elapsed() > timeoutMs)
            loop.quit();
    });
    poll.start();
    if (!done())
        loop.exec();
    return done();
}

struct Case
{
    Case(QString label, PlaylistSource source) : label(std::move(label)), source(std::move(source)) {}

    QString label;
    PlaylistSource source;
    // The parts alone.
    DurationSamples download;
    DurationSamples decode; // empty for Xtream
    DurationSamples parse;
    DurationSamples publish;
    DurationSamples publishMain; // its main-thread part
    DurationSamples folding; // the names folded for the search, after the rows
    qsizetype channels = 0;
    qint64 bytes = 0;
    QStringList favoriteKeys;
    // The whole load.
    DurationSamples whole;
    DurationSamples afterDownload; // from the end of the last download to the rows
    QList<StallWatch::Stall> stalls; // of the run with the longest stall, longest first
    double longestBusy = 0; // the main thread's CPU time within one gap, over every run
    QStringList events; // of the run with the longest stall
};

// Where the library model's downloads report their end, with the path asked for (no query: it may
// hold credentials).
std::function<void(const QString &)> g_downloaded;

QCoro::Task<HTTPPayload> noticedFetch(HTTPClient::Fetch fetch, QNetworkRequest request, CancellationToken cancellation)
{
    const QString path = request.url().path();
    HTTPPayload payload = co_await fetch(std::move(request), std::move(cancellation));
    if (g_downloaded)
        g_downloaded(path);
    co_return payload;
}

// Publishing alone, on models of their own: what the library model does with a parsed list before its
// rows are on screen (the list's groups and favourite flags mapped on the thread pool, then the list
// model and the guide given them on the main thread), and the folding of the names for the search
// that follows on the thread pool. Nanoseconds of the whole, of the main thread's part, and of the
// folding.
struct PublishTimes
{
    qint64 whole = 0;
    qint64 mainThread = 0;
    qint64 folding = 0;
};

PublishTimes publishOnce(const PlaylistSource &source, const ChannelListing &listing)
{
    ChannelListModel list;
    ProgrammeGuide guide(HTTPClient::defaultFetch(), QString());
    list.setGuide(&guide);
    // No guide addresses: the guide's download is not part of publishing.
    ChannelExtras extras = listing.extras;
    extras.setGuideAddresses({});
    PublishTimes times;
    QElapsedTimer timer;
    timer.start();
    auto prepare = [channels = listing.channels, id = source.id] {
        return ChannelListModel::prepare(channels, {}, id);
    };
    ChannelListModel::Prepared prepared
        = BenchRun::valueOf(inBackground(std::move(prepare)), u"preparing the list"_s);
    QElapsedTimer main;
    main.start();
    guide.reset(source, source.address.toUtf8(), prepared.channels, extras);
    list.setPrepared(std::move(prepared), source.id);
    times.mainThread = main.nsecsElapsed();
    times.whole = timer.nsecsElapsed();
    QElapsedTimer folding;
    folding.start();
    spinUntil([&] { return list.namesFolded(); }, 60'000);
    times.folding = folding.nsecsElapsed();
    return times;
}

void measureParts(Case &row, int runs)
{
    const PlaylistSource &source = row.source;
    ChannelListing listing;
    if (source.kind == PlaylistSource::Kind::m3u) {
        const QUrl url(source.address);
        const QByteArray body = timed(runs, row.download, [&] { return download(url); });
        row.bytes = body.size();
        const QString text = timed(runs, row.decode, [&] {
            QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
            QString decoded = decoder.decode(body);
            if (decoder.hasError())
                throw BenchFailure {u"the playlist is not UTF-8"_s};
            return decoded;
        });
        listing = timed(runs, row.parse, [&] { return M3UParser::parseListing(text, url.toEncoded()); });
    } else {
        const QString api = source.base() + u"/player_api.php?"_s + source.credentials();
        struct Bodies
        {
            QByteArray account, categories, streams;
        };
        const Bodies bodies = timed(runs, row.download, [&] {
            return Bodies{download(PlaylistSource::httpURL(api)),
                          download(PlaylistSource::httpURL(api + u"&action=get_live_categories"_s)),
                          download(PlaylistSource::httpURL(api + u"&action=get_live_streams"_s))};
        });
        row.bytes = bodies.account.size() + bodies.categories.size() + bodies.streams.size();
        const QString extension = XtreamReaders::accountStreamExtension(bodies.account);
        listing = timed(runs, row.parse, [&] {
            ChannelListing read;
            const QHash<QString, QString> categories = XtreamReaders::liveCategories(bodies.categories);
            read.channels = XtreamReaders::liveStreams(bodies.streams, source, extension, categories, {}, &read.extras);
            return read;
        });
    }
    row.channels = listing.channels.size();
    // 100 favourites of the connection, spread over its channels.
    const QString prefix = JsonFields::canonicalUuid(source.id) + u':';
    const qsizetype step = std::max<qsizetype>(1, listing.channels.size() / 100);
    for (qsizetype i = 0; i < listing.channels.size() && row.favoriteKeys.size() < 100; i += step)
        row.favoriteKeys.append(prefix + listing.channels.at(i).id());
    publishOnce(source, listing);
    for (int run = 0; run < runs; ++run) {
        const PublishTimes times = publishOnce(source, listing);
        row.publish.add(times.whole);
        row.publishMain.add(times.mainThread);
        row.folding.add(times.folding);
    }
}

void measureWhole(Case &row, LibraryModel &model, const QString &guideCache, int runs)
{
    StallWatch watch;
    double longest = -1;
    for (int run = 0; run <= runs; ++run) {
        QStringList events;
        auto note = [&](const QString &what) {
            events.append(u"%1 ms %2"_s.arg(watch.elapsedMilliseconds(), 0, 'f', 1).arg(what));
        };
        std::optional<double> published;
        int rowsAtPublish = -1;
        const QMetaObject::Connection loading = QObject::connect(&model, &LibraryModel::isLoadingChanged, [&] {
            if (model.isLoading())
                return;
            published = watch.elapsedMilliseconds();
            rowsAtPublish = model.filteredChannels()->count();
            note(u"loaded: %1 rows"_s.arg(rowsAtPublish));
        });
        const QMetaObject::Connection channels = QObject::connect(&model, &LibraryModel::channelsChanged,
            [&] { note(u"channels published: %1"_s.arg(model.channelCount())); });
        std::optional<double> lastDownload;
        g_downloaded = [&](const QString &path) {
            if (!published)
                lastDownload = watch.elapsedMilliseconds();
            note(u"downloaded "_s + path);
        };
        const QMetaObject::Connection guide = QObject::connect(model.guide(), &ProgrammeGuide::loadingChanged,
            [&] { note(model.guide()->loading() ? u"guide loading"_s : u"guide read and matched"_s); });

        // A first load of the day: the guide is not on disk yet.
        QDir(guideCache).removeRecursively();
        watch.start();
        model.load(row.source, false, false);
        const bool finished = spinUntil([&] { return published.has_value(); }, 120'000);
        if (!finished || model.activeID() != row.source.id)
            throw BenchFailure {
                row.label + u": the load did not succeed: "_s + model.notice().value_or(QString())};
        if (rowsAtPublish != row.channels)
            throw BenchFailure {u"%1: %2 rows when the load ended, %3 expected"_s.arg(row.label)
                                    .arg(rowsAtPublish)
                                    .arg(row.channels)};
        // The guide the list names is read and matched after the rows are shown: still the load.
        const double settleFrom = watch.elapsedMilliseconds();
        bool folded = false;
        spinUntil([&] {
            if (!folded && model.filteredChannels()->namesFolded()) {
                folded = true;
                note(u"names folded for the search"_s);
            }
            return folded && !model.guide()->loading() && watch.elapsedMilliseconds() - settleFrom > 200;
        }, 30'000);
        if (model.guide()->loading())
            note(u"the guide was still loading when the watch stopped"_s);
        watch.stop();
        g_downloaded = nullptr;
        QObject::disconnect(loading);
        QObject::disconnect(channels);
        QObject::disconnect(guide);

        if (run == 0)
            continue; // the first load fills an empty model; the timed ones replace a full list
        row.whole.add(qint64(*published * 1e6));
        if (lastDownload)
            row.afterDownload.add(qint64((*published - *lastDownload) * 1e6));
        const QList<StallWatch::Stall> stalls = watch.stalls();
        for (const StallWatch::Stall &stall : stalls)
            row.longestBusy = std::max(row.longestBusy, stall.cpuMilliseconds);
        if (!stalls.isEmpty() && stalls.constFirst().wallMilliseconds > longest) {
            longest = stalls.constFirst().wallMilliseconds;
            row.events = events;
            row.stalls = stalls;
        }
        if (row.events.isEmpty())
            row.events = events;
    }
}

QString milliseconds(double value)
{
    return QString::number(value, 'f', 1);
}

void report(QTextStream &out, const Case &row)
{
    const double download = row.download.medianMilliseconds();
    const double decode = row.decode.count() ? row.decode.medianMilliseconds() : 0.0;
    const double parse = row.parse.medianMilliseconds();
    const double reading = download + decode + parse;
    const double whole = row.whole.medianMilliseconds();
    out << row.label << ": " << row.channels << " channels, " << QString::number(double(row.bytes) / 1e6, 'f', 1)
        << " MB\n";
    out << "  parts alone     download " << milliseconds(download) << "  decode "
        << (row.decode.count() ? milliseconds(decode) : u"-"_s) << "  parse " << milliseconds(parse) << "  publish "
        << milliseconds(row.publish.medianMilliseconds()) << " (main thread "
        << QString::number(row.publishMain.medianMilliseconds(), 'f', 2) << ")  then folding the names "
        << milliseconds(row.folding.medianMilliseconds()) << "  (median ms)\n";
    out << "  whole load      " << milliseconds(whole) << " ms median, best " << milliseconds(row.whole.bestMilliseconds())
        << "; download + decode + parse " << milliseconds(reading) << " ms: "
        << QString::number(whole / reading, 'f', 2) << "x (target at most " << overheadTarget << "x: "
        << (whole <= overheadTarget * reading ? "met" : "NOT met") << ")\n";
    out << "  after the download  " << milliseconds(row.afterDownload.medianMilliseconds())
        << " ms median from the end of the last download to the rows; alone: "
        << (row.decode.count() ? u"decode + "_s : QString()) << "parse + publish "
        << milliseconds(decode + parse + row.publish.medianMilliseconds()) << " ms\n";
    const double longest = row.stalls.isEmpty() ? 0.0 : row.stalls.constFirst().wallMilliseconds;
    out << "  longest stall   " << milliseconds(longest) << " ms"
        << (row.stalls.isEmpty() ? QString() : u" (main thread busy "_s + milliseconds(row.stalls.constFirst().cpuMilliseconds) + u" ms of it)"_s)
        << " (target at most " << frameMilliseconds << " ms: " << (longest <= frameMilliseconds ? "met" : "NOT met")
        << ")\n";
    out << "  longest busy    " << milliseconds(row.longestBusy)
        << " ms of main-thread CPU time between two ticks, over every run\n";
    out << "  in the run with the longest stall, stalls of 2 ms or more (start ms: wall ms / main-thread cpu ms):\n   ";
    QList<StallWatch::Stall> byTime = row.stalls.mid(0, 12);
    std::sort(byTime.begin(), byTime.end(),
              [](const StallWatch::Stall &a, const StallWatch::Stall &b) { return a.atMilliseconds < b.atMilliseconds; });
    for (const StallWatch::Stall &stall : byTime)
        out << ' ' << milliseconds(stall.atMilliseconds) << ": " << milliseconds(stall.wallMilliseconds) << '/'
            << milliseconds(stall.cpuMilliseconds);
    if (row.stalls.size() > byTime.size())
        out << " (and " << row.stalls.size() - byTime.size() << " shorter)";
    out << "\n  events of that run:";
    for (const QString &event : row.events)
        out << "\n    " << event;
    out << '\n';
}

int benchmark(int runs, int m3uChannels, int xtreamChannels)
{
    QTextStream out(stdout);
    out << "Load average before: " << BenchRun::loadAverage() << Qt::endl;

    ProviderOptions m3uOptions;
    m3uOptions.liveChannels = m3uChannels;
    m3uOptions.movies = 0;
    m3uOptions.series = 0;
    m3uOptions.categories = 40;
    m3uOptions.generateMedia = false;
    ProviderServer m3uProvider(m3uOptions);
    ProviderOptions xtreamOptions = m3uOptions;
    xtreamOptions.liveChannels = xtreamChannels;
    xtreamOptions.seed = 2;
    ProviderServer xtreamProvider(xtreamOptions);
    if (!m3uProvider.start() || !xtreamProvider.start())
        throw BenchFailure {
            u"a provider did not start: "_s + m3uProvider.errorString() + xtreamProvider.errorString()};

    QList<Case> cases;
    cases.append(Case(u"M3U playlist"_s,
                      PlaylistSource(QUuid::createUuid(), u"Llista local"_s,
                                     m3uProvider.url(u"/playlist.m3u"_s).toString(), QString(), QString(),
                                     PlaylistSource::Kind::m3u)));
    cases.append(Case(u"Xtream account"_s,
                      PlaylistSource(QUuid::createUuid(), u"Compte local"_s, xtreamProvider.baseURL().toString(),
                                     ProviderCatalog::demoUsername(), ProviderCatalog::demoPassword(),
                                     PlaylistSource::Kind::xtream)));

    for (Case &row : cases)
        measureParts(row, runs);

    QTemporaryDir scratch;
    QSettings preferences(scratch.filePath(u"preferences.ini"_s), QSettings::IniFormat);
    QStringList favorites;
    for (const Case &row : std::as_const(cases))
        favorites += row.favoriteKeys;
    preferences.setValue(LibraryModel::favoritesKey(), favorites);
    LibraryModel::Environment environment;
    environment.preferences = &preferences;
    environment.keychainService = u"bench.quenvo.load"_s;
    environment.guideCacheFolder = scratch.filePath(u"guide"_s);
    environment.pollPlayback = false;
    environment.fetch = [fetch = HTTPClient::defaultFetch()](QNetworkRequest request, CancellationToken cancellation) {
        return noticedFetch(fetch, std::move(request), std::move(cancellation));
    };
    LibraryModel model(environment);
    // The keychain holds nothing here; start-up ends once it has answered.
    spinUntil([&] { return !model.readingConnections(); }, 30'000);

    for (Case &row : cases)
        measureWhole(row, model, environment.guideCacheFolder, runs);

    out << "Median of " << runs << " timed runs after a first one; ms of wall time.\n"
        << "publish = from a parsed list to its rows on models of their own (groups and favourites mapped on the thread\n"
        << "pool, then the main thread's part); the names are then folded for the search on the thread pool.\n"
        << "whole load = LibraryModel::load, from the call until the model stops loading with every row listed.\n"
        << "stall = lateness of a 1 ms main-thread timer, from the call until the names are folded for the search and the\n"
        << "named guide is matched.\n";
    for (const Case &row : std::as_const(cases))
        report(out, row);
    out << "Load average after: " << BenchRun::loadAverage() << Qt::endl;
    return 0;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(u"A connection loaded end to end, and the main thread's longest stall."_s);
    parser.addHelpOption();
    parser.addOption({u"runs"_s, u"Timed runs of each measurement."_s, u"n"_s, u"5"_s});
    parser.addOption({u"m3u-channels"_s, u"Channels of the M3U playlist."_s, u"n"_s, u"100000"_s});
    parser.addOption({u"xtream-channels"_s, u"Live channels of the Xtream account."_s, u"n"_s, u"50000"_s});
    parser.process(application);
    try {
        return benchmark(std::max(1, parser.value(u"runs"_s).toInt()), parser.value(u"m3u-channels"_s).toInt(),
                         parser.value(u"xtream-channels"_s).toInt());
    } catch (const BenchFailure &failure) {
        QTextStream(stderr) << "bench-load: " << failure.message << Qt::endl;
        return 1;
    }
}
