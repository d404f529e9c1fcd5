// quenvo-bench-xtream: how long an Xtream account takes to load from the local provider over
// loopback, and how fast XtreamReaders turn the answers into records, next to the same mapping done
// by JSON.parse and JavaScript in node (bench/node/xtream.js).
//   quenvo-bench-xtream [--runs 7] [--channels 50000] [--movies 20000] [--data DIR] [--node-script FILE]
//
// A ProviderServer runs in this process without media, with one category per section so that every
// movie is in the same category (the live side then has that category and the test channels' one).
// The answers are fetched once and written to DIR for node. Then, each as the median of the timed
// runs after a first one:
// - PlaylistRepository::load of the demo account (three requests, reading off the main thread);
// - CatalogRepository::items of the movie category (one request, reading off the main thread);
// - the JSON-to-records stage alone on the fetched bytes: XtreamReaders::liveCategories plus
//   liveStreams, and XtreamReaders::catalogItems;
// - the same stage in node, from text already decoded (the decoding is shown on its own).
// Peak memory is measured in fresh child processes of this executable (see --memory-of): resident
// growth from the kernel's high-water mark, reset just before the work.
// MB are 10^6 bytes of the answer as received (UTF-8 JSON).

#include "CpuClock.h"
#include "DurationSamples.h"
#include "PeakMemory.h"
#include "ProviderServer.h"

#include "http/HTTPClient.h"
#include "records/IPTVError.h"
#include "records/PlaylistSource.h"
#include "repositories/CatalogRepository.h"
#include "repositories/PlaylistRepository.h"
#include "repositories/XtreamReaders.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QCoroTask>
#include <QCryptographicHash>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QProcess>
#include <QStandardPaths>
#include <QTextStream>

#include <optional>

using namespace Qt::StringLiterals;

namespace {

// What stops the benchmark, with the reason.
struct Failure
{
    QString message;
};

struct Settings
{
    int runs = 7;
    int channels = 50000;
    int movies = 20000;
    QString dataFolder;
    QString nodeScript;
    // Child processes only.
    QString memoryOf;
    QString server;
    QString category;
    QString extension;
};

const QString liveCategoriesFile = u"xtream-live-categories.json"_s;
const QString liveStreamsFile = u"xtream-live-streams.json"_s;
const QString movieStreamsFile = u"xtream-vod-streams.json"_s;

// ---------------------------------------------------------------------------------------------------
// Coroutines, waited for from main().

template<typename T> struct Outcome
{
    std::optional<T> value;
    QString failure;
};

// QCoro 0.8's waitFor() never returns when the awaited task throws: settle the outcome first.
template<typename T> QCoro::Task<Outcome<T>> settled(QCoro::Task<T> task)
{
    Outcome<T> outcome;
    try {
        outcome.value = co_await std::move(task);
    } catch (const IPTVError &error) {
        outcome.failure = error.message();
    } catch (const std::exception &error) {
        outcome.failure = QString::fromUtf8(error.what());
    }
    co_return outcome;
}

template<typename T> T valueOf(QCoro::Task<T> task, const QString &what)
{
    Outcome<T> outcome = QCoro::waitFor(settled(std::move(task)));
    if (!outcome.value)
        throw Failure{what + u": "_s + outcome.failure};
    return std::move(*outcome.value);
}

PlaylistSource demoSource(const QString &server)
{
    return PlaylistSource(QUuid::createUuid(), u"Proveïdor local"_s, server, ProviderCatalog::demoUsername(),
                          ProviderCatalog::demoPassword(), PlaylistSource::Kind::xtream);
}

QUrl apiURL(const PlaylistSource &source, const QString &action)
{
    QString address = source.base() + u"/player_api.php?"_s + source.credentials();
    if (!action.isEmpty())
        address += u"&action="_s + action;
    return PlaylistSource::httpURL(address);
}

QByteArray fetchBody(const QUrl &url)
{
    HTTPPayload payload =
        valueOf(HTTPClient::fetch(HTTPClient::providerRequest(url)), HTTPClient::redactedForLog(url));
    return std::move(payload.data);
}

// ---------------------------------------------------------------------------------------------------
// The work measured.

QList<Channel> readLive(const QByteArray &categoriesBody, const QByteArray &streamsBody,
                        const PlaylistSource &source, const QString &extension)
{
    const QHash<QString, QString> categories = XtreamReaders::liveCategories(categoriesBody);
    return XtreamReaders::liveStreams(streamsBody, source, extension, categories);
}

QList<CatalogItem> readMovies(const QByteArray &body, const QString &categoryID)
{
    return XtreamReaders::catalogItems(body, CatalogKind::movies, categoryID);
}

QList<Channel> loadLive(const PlaylistSource &source)
{
    return valueOf(PlaylistRepository().load(source), u"PlaylistRepository::load"_s);
}

QList<CatalogItem> loadMovies(const PlaylistSource &source, const QString &categoryID)
{
    return valueOf(CatalogRepository().items(source, CatalogKind::movies, categoryID), u"CatalogRepository::items"_s);
}

struct Times
{
    DurationSamples wall;
    DurationSamples cpu;
};

// Runs `work` once, then `runs` timed times; returns the last result. Results are released outside
// the timed part.
template<typename Work> auto timed(int runs, Times &times, Work work)
{
    auto result = work();
    for (int run = 0; run < runs; ++run) {
        QElapsedTimer timer;
        const qint64 cpuStart = CpuClock::processNanoseconds();
        timer.start();
        auto records = work();
        times.wall.add(timer.nsecsElapsed());
        times.cpu.add(CpuClock::processNanoseconds() - cpuStart);
        if (records.size() != result.size())
            throw Failure{u"the work is not repeatable"_s};
        result = std::move(records);
    }
    return result;
}

// SHA-256 over one line per record, the way bench/node/xtream.js writes its lines, so that both
// sides are shown to build the same records.
QByteArray fingerprint(const QList<Channel> &channels)
{
    QCryptographicHash hash(QCryptographicHash::Sha256);
    for (const Channel &channel : channels) {
        hash.addData((channel.name() + u'\t' + channel.group() + u'\t').toUtf8());
        hash.addData(channel.encodedURL());
        hash.addData((u'\t' + channel.id() + u'\n').toUtf8());
    }
    return hash.result().toHex();
}

QByteArray fingerprint(const QList<CatalogItem> &items)
{
    QCryptographicHash hash(QCryptographicHash::Sha256);
    for (const CatalogItem &item : items) {
        const bool whole = item.added == double(qint64(item.added));
        const QStringList fields = {
            item.id,
            item.name,
            item.categoryID,
            item.poster ? item.poster->toString(QUrl::FullyEncoded) : QString(),
            item.year,
            item.rating,
            item.plot,
            item.fileExtension,
            whole ? QString::number(qint64(item.added))
                  : QString::number(item.added, 'g', QLocale::FloatingPointShortest),
        };
        hash.addData((fields.join(u'\t') + u'\n').toUtf8());
    }
    return hash.result().toHex();
}

// ---------------------------------------------------------------------------------------------------
// Peak memory, in a fresh child process.

const char *methodName(PeakMemory::Method method)
{
    switch (method) {
    case PeakMemory::Method::highWaterMark:
        return "reset-high-water-mark";
    case PeakMemory::Method::lifetimePeak:
        return "lifetime-peak";
    case PeakMemory::Method::unavailable:
        break;
    }
    return "none";
}

// Runs `work` between a reset of the high-water mark and its reading, the result still alive;
// prints one line of key=value pairs.
template<typename Work> void printMemoryOf(Work work)
{
    const PeakMemory memory = PeakMemory::start();
    const auto records = work();
    const qint64 peak = memory.growth();
    const qint64 retained = PeakMemory::residentBytes() - memory.residentAtStart();
    QTextStream(stdout) << "records=" << records.size() << " peak_bytes=" << peak << " retained_bytes=" << retained
                        << " resident_before=" << memory.residentAtStart()
                        << " peak_method=" << methodName(memory.method()) << '\n';
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw Failure{u"cannot read "_s + path + u": "_s + file.errorString()};
    return file.readAll();
}

void writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(bytes) != bytes.size() || !file.flush())
        throw Failure{u"cannot write "_s + path + u": "_s + file.errorString()};
}

// The child's side: what --memory-of names, measured on its own in this fresh process. The answers
// are read from the files (or the first request is made) before the measurement starts.
void measureMemoryOf(const Settings &settings)
{
    const PlaylistSource source = demoSource(settings.server);
    const QDir data(settings.dataFolder);
    if (settings.memoryOf == u"live"_s) {
        const QByteArray categories = readFile(data.filePath(liveCategoriesFile));
        const QByteArray streams = readFile(data.filePath(liveStreamsFile));
        printMemoryOf([&] { return readLive(categories, streams, source, settings.extension); });
    } else if (settings.memoryOf == u"movies"_s) {
        const QByteArray body = readFile(data.filePath(movieStreamsFile));
        printMemoryOf([&] { return readMovies(body, settings.category); });
    } else if (settings.memoryOf == u"load"_s || settings.memoryOf == u"items"_s) {
        // One small request first, so that the network stack's one-time set-up is not counted.
        fetchBody(apiURL(source, QString()));
        if (settings.memoryOf == u"load"_s)
            printMemoryOf([&] { return loadLive(source); });
        else
            printMemoryOf([&] { return loadMovies(source, settings.category); });
    } else {
        throw Failure{u"--memory-of takes live, movies, load or items"_s};
    }
}

// key=value pairs of one line.
QHash<QString, QString> fieldsOf(const QByteArray &line)
{
    QHash<QString, QString> fields;
    const QStringList pairs = QString::fromUtf8(line.trimmed()).split(u' ', Qt::SkipEmptyParts);
    for (const QString &pair : pairs) {
        const qsizetype equals = pair.indexOf(u'=');
        if (equals > 0)
            fields.insert(pair.left(equals), pair.sliced(equals + 1));
    }
    return fields;
}

QHash<QString, QString> runForLine(const QString &program, const QStringList &arguments, const QString &what)
{
    QProcess process;
    process.start(program, arguments);
    // Generous: node's runs on a busy machine; the provider answers from its own thread meanwhile.
    if (!process.waitForFinished(15 * 60 * 1000)) {
        process.kill();
        process.waitForFinished();
        throw Failure{what + u" did not finish: "_s + process.errorString()};
    }
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        throw Failure{what + u" failed: "_s + QString::fromUtf8(process.readAllStandardError()).trimmed()};
    return fieldsOf(process.readAllStandardOutput());
}

struct Memory
{
    qint64 peak = -1;
    qint64 retained = -1;
    qint64 records = -1;
    QString method;
};

Memory memoryOf(const Settings &settings, const QString &what)
{
    const QStringList arguments = {u"--memory-of"_s, what, u"--data"_s, settings.dataFolder, u"--server"_s,
                                   settings.server, u"--category"_s, settings.category, u"--extension"_s,
                                   settings.extension};
    const QHash<QString, QString> fields =
        runForLine(QCoreApplication::applicationFilePath(), arguments, u"the memory measurement of "_s + what);
    return Memory{fields.value(u"peak_bytes"_s, u"-1"_s).toLongLong(),
                  fields.value(u"retained_bytes"_s, u"-1"_s).toLongLong(),
                  fields.value(u"records"_s, u"-1"_s).toLongLong(), fields.value(u"peak_method"_s)};
}

// ---------------------------------------------------------------------------------------------------
// Node's side.

struct NodeFigures
{
    double decodeMilliseconds = -1;
    double medianMilliseconds = -1;
    double bestMilliseconds = -1;
    double cpuMilliseconds = -1;
    qint64 records = -1;
    qint64 peak = -1;
    QByteArray fingerprint;
};

NodeFigures runNode(const QString &node, const Settings &settings, const QStringList &arguments)
{
    QStringList all = {u"--expose-gc"_s, settings.nodeScript, u"--runs"_s, QString::number(settings.runs),
                       u"--line"_s};
    all += arguments;
    const QHash<QString, QString> fields = runForLine(node, all, u"node "_s + QFileInfo(settings.nodeScript).fileName());
    NodeFigures figures;
    figures.decodeMilliseconds = fields.value(u"decode_median_ms"_s, u"-1"_s).toDouble();
    figures.medianMilliseconds = fields.value(u"median_ms"_s, u"-1"_s).toDouble();
    figures.bestMilliseconds = fields.value(u"best_ms"_s, u"-1"_s).toDouble();
    figures.cpuMilliseconds = fields.value(u"cpu_median_ms"_s, u"-1"_s).toDouble();
    figures.records = fields.value(u"records"_s, u"-1"_s).toLongLong();
    figures.peak = fields.value(u"peak_bytes"_s, u"-1"_s).toLongLong();
    figures.fingerprint = fields.value(u"fingerprint"_s).toLatin1();
    return figures;
}

// ---------------------------------------------------------------------------------------------------
// The table.

QString number(double value, int decimals)
{
    return value < 0 ? u"-"_s : QString::number(value, 'f', decimals);
}

QString megabytes(qint64 bytes)
{
    return bytes < 0 ? u"-"_s : QString::number(double(bytes) / 1e6, 'f', 1);
}

QString ratio(double value)
{
    return value < 0 ? u"-"_s : QString::number(value, 'f', 2) + u'x';
}

QString perSecond(qsizetype records, double milliseconds)
{
    return milliseconds <= 0 ? u"-"_s : QString::number(qint64(double(records) / (milliseconds / 1e3)));
}

struct Row
{
    QString stage;
    qsizetype records = 0;
    qint64 bodyBytes = 0;
    Times ours;
    Memory memory;
    std::optional<NodeFigures> node;
};

void printRow(QTextStream &out, const Row &row)
{
    const double median = row.ours.wall.medianMilliseconds();
    const double cpu = row.ours.cpu.medianMilliseconds();
    const double body = double(row.bodyBytes);
    QStringList cells = {
        row.stage.leftJustified(31),
        QString::number(row.records).rightJustified(7),
        megabytes(row.bodyBytes).rightJustified(6),
        u"|"_s,
        number(median, 2).rightJustified(9),
        number(row.ours.wall.bestMilliseconds(), 2).rightJustified(8),
        number(cpu, 2).rightJustified(8),
        perSecond(row.records, median).rightJustified(9),
        megabytes(row.memory.peak).rightJustified(7),
        ratio(row.memory.peak < 0 ? -1 : double(row.memory.peak) / body).rightJustified(6),
        u"|"_s,
    };
    if (row.node) {
        const NodeFigures &node = *row.node;
        cells += {
            number(node.decodeMilliseconds, 2).rightJustified(6),
            number(node.medianMilliseconds, 2).rightJustified(8),
            number(node.bestMilliseconds, 2).rightJustified(8),
            number(node.cpuMilliseconds, 2).rightJustified(8),
            perSecond(row.records, node.medianMilliseconds).rightJustified(9),
            megabytes(node.peak).rightJustified(7),
            ratio(node.peak < 0 ? -1 : double(node.peak) / body).rightJustified(6),
            u"|"_s,
            ratio(node.medianMilliseconds / median).rightJustified(6),
            ratio(node.cpuMilliseconds / cpu).rightJustified(6),
        };
    } else {
        cells += {u"-"_s.rightJustified(6), u"-"_s.rightJustified(8), u"-"_s.rightJustified(8), u"-"_s.rightJustified(8),
                  u"-"_s.rightJustified(9), u"-"_s.rightJustified(7), u"-"_s.rightJustified(6), u"|"_s,
                  u"-"_s.rightJustified(6), u"-"_s.rightJustified(6)};
    }
    out << cells.join(u' ') << '\n';
}

QString loadAverage()
{
    QFile file(u"/proc/loadavg"_s);
    if (!file.open(QIODevice::ReadOnly))
        return u"unknown"_s;
    return QString::fromLatin1(file.readAll()).section(u' ', 0, 2);
}

// The node program and the reason it cannot run, if any.
std::pair<QString, QString> nodeProgram(const Settings &settings)
{
    const QString node = QStandardPaths::findExecutable(u"node"_s);
    if (node.isEmpty())
        return {QString(), u"node is not installed"_s};
    if (!QFileInfo::exists(settings.nodeScript))
        return {QString(), settings.nodeScript + u" is not there"_s};
    return {node, QString()};
}

int benchmark(Settings settings)
{
    QTextStream out(stdout);

    ProviderOptions options;
    options.liveChannels = settings.channels;
    options.movies = settings.movies;
    options.series = 0;
    options.categories = 1;
    options.generateMedia = false;
    ProviderServer server(options);
    if (!server.start())
        throw Failure{u"the provider did not start: "_s + server.errorString()};
    const ProviderCatalog &catalog = server.catalog();

    // Every movie in the category that items() is asked for.
    settings.category = catalog.vodCategoryID(0);
    for (int index = 0; index < catalog.movieCount(); ++index) {
        if (catalog.movieCategory(index) != 0)
            throw Failure{u"the provider put movie %1 outside category %2"_s.arg(index).arg(settings.category)};
    }

    settings.server = server.baseURL().toString();
    const PlaylistSource source = demoSource(settings.server);

    // The answers, once, for the reading stage and for node.
    const QByteArray account = fetchBody(apiURL(source, QString()));
    settings.extension = XtreamReaders::accountStreamExtension(account);
    const QByteArray liveCategories = fetchBody(apiURL(source, u"get_live_categories"_s));
    const QByteArray liveStreams = fetchBody(apiURL(source, u"get_live_streams"_s));
    const QByteArray movieStreams =
        fetchBody(CatalogRepository::requestURL(source, u"get_vod_streams"_s, {{u"category_id"_s, settings.category}}));
    if (!QDir().mkpath(settings.dataFolder))
        throw Failure{u"cannot create "_s + settings.dataFolder};
    const QDir data(settings.dataFolder);
    writeFile(data.filePath(liveCategoriesFile), liveCategories);
    writeFile(data.filePath(liveStreamsFile), liveStreams);
    writeFile(data.filePath(movieStreamsFile), movieStreams);

    out << "Xtream loading over loopback: ProviderServer in this process, " << catalog.liveChannelCount()
        << " live channels in " << catalog.liveCategoryCount() << " categories, " << catalog.movieCount()
        << " movies in category " << settings.category << "; load average " << loadAverage() << '\n';

    // Peak memory first, each in a fresh process, while this one is still small and quiet.
    Row live{u"read live (categories+streams)"_s, 0, liveCategories.size() + liveStreams.size(), {}, {}, {}};
    Row movies{u"read movies (catalogItems)"_s, 0, movieStreams.size(), {}, {}, {}};
    Row load{u"PlaylistRepository::load"_s, 0, account.size() + liveCategories.size() + liveStreams.size(), {}, {}, {}};
    Row items{u"CatalogRepository::items"_s, 0, movieStreams.size(), {}, {}, {}};
    live.memory = memoryOf(settings, u"live"_s);
    movies.memory = memoryOf(settings, u"movies"_s);
    load.memory = memoryOf(settings, u"load"_s);
    items.memory = memoryOf(settings, u"items"_s);

    // The reading stage alone, on the bytes fetched above.
    const QList<Channel> channels = timed(settings.runs, live.ours, [&] {
        return readLive(liveCategories, liveStreams, source, settings.extension);
    });
    const QList<CatalogItem> titles =
        timed(settings.runs, movies.ours, [&] { return readMovies(movieStreams, settings.category); });
    live.records = channels.size();
    movies.records = titles.size();

    // Whole loads: requests, transfer, reading off the main thread.
    load.records = timed(settings.runs, load.ours, [&] { return loadLive(source); }).size();
    items.records = timed(settings.runs, items.ours, [&] { return loadMovies(source, settings.category); }).size();

    QStringList problems;
    const auto expect = [&](const QString &what, qint64 found, qint64 expected) {
        if (found != expected)
            problems += u"%1: %2 records, %3 expected"_s.arg(what).arg(found).arg(expected);
    };
    expect(live.stage, live.records, catalog.liveChannelCount());
    expect(load.stage, load.records, catalog.liveChannelCount());
    expect(u"memory run of "_s + live.stage, live.memory.records, catalog.liveChannelCount());
    expect(u"memory run of "_s + load.stage, load.memory.records, catalog.liveChannelCount());
    expect(movies.stage, movies.records, catalog.movieCount());
    expect(items.stage, items.records, catalog.movieCount());
    expect(u"memory run of "_s + movies.stage, movies.memory.records, catalog.movieCount());
    expect(u"memory run of "_s + items.stage, items.memory.records, catalog.movieCount());

    const auto [node, nodeMissing] = nodeProgram(settings);
    QString nodeVersion;
    if (!node.isEmpty()) {
        const QString base = source.base();
        live.node = runNode(node, settings,
                            {u"--categories"_s, data.filePath(liveCategoriesFile), u"--base"_s, base,
                             u"--username"_s, source.username, u"--password"_s, source.password,
                             u"--extension"_s, settings.extension, data.filePath(liveStreamsFile), u"live"_s});
        movies.node = runNode(node, settings,
                              {u"--category"_s, settings.category, data.filePath(movieStreamsFile), u"movies"_s});
        expect(u"node "_s + live.stage, live.node->records, catalog.liveChannelCount());
        expect(u"node "_s + movies.stage, movies.node->records, catalog.movieCount());
        if (live.node->fingerprint != fingerprint(channels))
            problems += u"node's channels differ from XtreamReaders' (fingerprints)"_s;
        if (movies.node->fingerprint != fingerprint(titles))
            problems += u"node's movies differ from XtreamReaders' (fingerprints)"_s;
        QProcess version;
        version.start(node, {u"--version"_s});
        if (version.waitForFinished())
            nodeVersion = QString::fromLatin1(version.readAllStandardOutput()).trimmed();
    }

    out << "Median of " << settings.runs << " timed runs after a first one; MB = 10^6 bytes of the answers;"
        << " cpu ms = process CPU time;\n"
        << "peak = resident growth during the work in a fresh process (" << live.memory.method
        << "), MB and times the answer size;\n"
        << "node: JSON.parse and the same mapping (bench/node/xtream.js) on text already decoded, decode = "
           "UTF-8 to string, not counted;\n"
        << "speed = node's median time / ours (wall, cpu). Whole loads: every request over loopback, "
           "reading off the main thread.\n";
    if (node.isEmpty())
        out << "The node columns are skipped: " << nodeMissing << ".\n";
    else
        out << "node " << nodeVersion << "; records of both sides checked equal (SHA-256 of every field).\n";
    out << QStringLiteral("%1 %2 %3 | %4 %5 %6 %7 %8 %9 | ")
               .arg(u"stage"_s.leftJustified(31), u"records"_s.rightJustified(7), u"MB"_s.rightJustified(6),
                    u"ours ms"_s.rightJustified(9), u"best ms"_s.rightJustified(8), u"cpu ms"_s.rightJustified(8),
                    u"records/s"_s.rightJustified(9), u"peak MB"_s.rightJustified(7), u"peak"_s.rightJustified(6))
        << QStringLiteral("%1 %2 %3 %4 %5 %6 %7 | %8 %9\n")
               .arg(u"decode"_s.rightJustified(6), u"node ms"_s.rightJustified(8), u"best ms"_s.rightJustified(8),
                    u"cpu ms"_s.rightJustified(8), u"records/s"_s.rightJustified(9), u"peak MB"_s.rightJustified(7),
                    u"peak"_s.rightJustified(6), u"speed"_s.rightJustified(6), u"cpu"_s.rightJustified(6));
    for (const Row *row : {&live, &movies, &load, &items})
        printRow(out, *row);
    out << "Records kept after reading (resident growth, result alive): live " << megabytes(live.memory.retained)
        << " MB, movies " << megabytes(movies.memory.retained) << " MB; after the whole load "
        << megabytes(load.memory.retained) << " MB, items " << megabytes(items.memory.retained) << " MB.\n";

    if (live.node && movies.node) {
        const auto verdict = [](double speed) { return speed >= 2 ? u"met"_s : u"NOT met"_s; };
        const double liveSpeed = live.node->medianMilliseconds / live.ours.wall.medianMilliseconds();
        const double movieSpeed = movies.node->medianMilliseconds / movies.ours.wall.medianMilliseconds();
        out << "Target, JSON-to-records at least 2x node's speed: live " << ratio(liveSpeed) << " ("
            << verdict(liveSpeed) << "), movies " << ratio(movieSpeed) << " (" << verdict(movieSpeed) << ").\n";
    }
    out << "Load average after: " << loadAverage() << '\n';
    out.flush();

    for (const QString &problem : std::as_const(problems))
        QTextStream(stderr) << "quenvo-bench-xtream: " << problem << '\n';
    return problems.isEmpty() ? 0 : 1;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);

    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"Times loading an Xtream account from the local provider, and reading its answers, against node."_s);
    parser.addHelpOption();
    const QCommandLineOption runsOption(u"runs"_s, u"Timed runs after the first one (default 7)."_s, u"count"_s, u"7"_s);
    const QCommandLineOption channelsOption(u"channels"_s, u"Live channels (default 50000)."_s, u"count"_s,
                                            u"50000"_s);
    const QCommandLineOption moviesOption(u"movies"_s, u"Movies (default 20000)."_s, u"count"_s, u"20000"_s);
    const QCommandLineOption dataOption(u"data"_s, u"Where the answers are written for node (default: bench-data "
                                                   u"in the build folder)."_s,
                                        u"folder"_s);
    const QCommandLineOption nodeOption(u"node-script"_s, u"The node side (default: bench/node/xtream.js)."_s,
                                        u"file"_s, QStringLiteral(QUENVO_NODE_XTREAM_SCRIPT));
    // Child processes of this executable, one per memory measurement.
    QCommandLineOption memoryOption(u"memory-of"_s, u"Measure one piece of work's peak memory."_s, u"work"_s);
    QCommandLineOption serverOption(u"server"_s, u"Provider address."_s, u"url"_s);
    QCommandLineOption categoryOption(u"category"_s, u"Movie category."_s, u"id"_s);
    QCommandLineOption extensionOption(u"extension"_s, u"Live stream extension."_s, u"extension"_s);
    for (QCommandLineOption *hidden : {&memoryOption, &serverOption, &categoryOption, &extensionOption})
        hidden->setFlags(QCommandLineOption::HiddenFromHelp);
    parser.addOptions({runsOption, channelsOption, moviesOption, dataOption, nodeOption, memoryOption, serverOption,
                       categoryOption, extensionOption});
    parser.process(app);

    Settings settings;
    bool runsOK = false;
    bool channelsOK = false;
    bool moviesOK = false;
    settings.runs = parser.value(runsOption).toInt(&runsOK);
    settings.channels = parser.value(channelsOption).toInt(&channelsOK);
    settings.movies = parser.value(moviesOption).toInt(&moviesOK);
    if (!runsOK || !channelsOK || !moviesOK || settings.runs < 1 || settings.channels < 6 || settings.movies < 1
        || !parser.positionalArguments().isEmpty()) {
        QTextStream(stderr) << "quenvo-bench-xtream: --runs >= 1, --channels >= 6 and --movies >= 1 expected\n";
        return 2;
    }
    settings.dataFolder = parser.isSet(dataOption)
        ? parser.value(dataOption)
        : QDir::cleanPath(QCoreApplication::applicationDirPath() + u"/../../bench-data"_s);
    settings.nodeScript = parser.value(nodeOption);
    settings.memoryOf = parser.value(memoryOption);
    settings.server = parser.value(serverOption);
    settings.category = parser.value(categoryOption);
    settings.extension = parser.value(extensionOption);

    try {
        if (!settings.memoryOf.isEmpty()) {
            measureMemoryOf(settings);
            return 0;
        }
        return benchmark(settings);
    } catch (const Failure &failure) {
        QTextStream(stderr) << "quenvo-bench-xtream: " << failure.message << '\n';
    } catch (const IPTVError &error) {
        QTextStream(stderr) << "quenvo-bench-xtream: " << error.message() << '\n';
    } catch (const std::exception &error) {
        QTextStream(stderr) << "quenvo-bench-xtream: " << error.what() << '\n';
    }
    return 1;
}
