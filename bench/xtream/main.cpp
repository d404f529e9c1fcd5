// quenvo-bench-xtream: how long an Xtream account takes to load from the local provider over
// loopback, and how fast XtreamReaders turn the answers into records, next to the same mapping done
// by JSON.parse and JavaScript in node (bench/node/xtream.js).
//   quenvo-bench-xtream [--runs 7] [--channels 50000] [--movies 20000] [--data DIR] [--fixtures DIR]
//                       [--node-script FILE]
//
// A ProviderServer runs in this process without media, with one category per section so that every
// movie is in the one category CatalogRepository::items asks for (the live side then has that
// category and the test channels' one). Its answers are fetched once and written to DIR for node.
// Each figure is the median of the timed runs after a first one:
// - the JSON-to-records stage alone on the fetched bytes: XtreamReaders::liveCategories plus
//   liveStreams, and XtreamReaders::catalogItems; the same on the real provider captures under
//   --fixtures (xtream/*get_live_streams.json with their categories, *get_vod_streams.json);
// - node on the same bytes: JSON.parse and the same mapping, from text already decoded (the decoding
//   is shown on its own); both sides' records are compared through a SHA-256 of every field;
// - PlaylistRepository::load of the demo account (three requests, reading off the main thread) and
//   CatalogRepository::items of the movie category (one request), over loopback.
// Peak memory is measured in fresh child processes of this executable (hidden option --memory-of):
// resident growth from the kernel's high-water mark, reset just before the work.
// MB are 10^6 bytes of the answers as received (UTF-8 JSON).

#include "BenchRun.h"
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
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QProcess>
#include <QStandardPaths>
#include <QTextStream>

#include <algorithm>
#include <cmath>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

// What stops the benchmark, with the reason.

struct Settings
{
    int runs = 7;
    int channels = 50000;
    int movies = 20000;
    QString dataFolder;
    QString fixturesFolder;
    QString nodeScript;
    // Shared with the child processes.
    QString server;
    QString extension;
    // A child process's work: live, movies, load or items, and its answers.
    QString memoryOf;
    QString body;
    QString categoriesBody;
    QString category;
};

// One answer read by both sides: a live list (with its categories) or a movie list.
struct Answer
{
    enum class Kind
    {
        live,
        movies
    };

    QString label;
    Kind kind = Kind::live;
    QString bodyPath;
    QString categoriesPath; // live
    QString categoryID; // movies
    qsizetype expectedRecords = -1; // known for the provider's answers
};

// ---------------------------------------------------------------------------------------------------
// Coroutines, waited for from main().

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
    HTTPPayload payload = BenchRun::valueOf(
        HTTPClient::fetch(HTTPClient::providerRequest(url)), HTTPClient::redactedForLog(url));
    return std::move(payload.data);
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw BenchFailure {u"cannot read "_s + path + u": "_s + file.errorString()};
    return file.readAll();
}

void writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(bytes) != bytes.size() || !file.flush())
        throw BenchFailure {u"cannot write "_s + path + u": "_s + file.errorString()};
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
    return BenchRun::valueOf(PlaylistRepository().load(source), u"PlaylistRepository::load"_s);
}

QList<CatalogItem> loadMovies(const PlaylistSource &source, const QString &categoryID)
{
    return BenchRun::valueOf(
        CatalogRepository().items(source, CatalogKind::movies, categoryID), u"CatalogRepository::items"_s);
}

struct Times
{
    DurationSamples wall;
    DurationSamples cpu;
};

// Runs `work` once, then `runs` timed times; returns the first result. Each timed result is released
// after its run, outside the timed part, as node drops its own before the next run.
template<typename Work> auto timed(int runs, Times &times, Work work)
{
    auto result = work();
    for (int run = 0; run < runs; ++run) {
        QElapsedTimer timer;
        const qint64 cpuStart = CpuClock::processNanoseconds();
        timer.start();
        const auto records = work();
        times.wall.add(timer.nsecsElapsed());
        times.cpu.add(CpuClock::processNanoseconds() - cpuStart);
        if (records.size() != result.size())
            throw BenchFailure {u"the work is not repeatable"_s};
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

// The child's side: the work --memory-of names, measured on its own in this fresh process. The
// answers are read (or a first request is made) before the measurement starts.
void measureMemoryOf(const Settings &settings)
{
    const PlaylistSource source = demoSource(settings.server);
    if (settings.memoryOf == u"live"_s) {
        const QByteArray categories = readFile(settings.categoriesBody);
        const QByteArray streams = readFile(settings.body);
        printMemoryOf([&] { return readLive(categories, streams, source, settings.extension); });
    } else if (settings.memoryOf == u"movies"_s) {
        const QByteArray body = readFile(settings.body);
        printMemoryOf([&] { return readMovies(body, settings.category); });
    } else if (settings.memoryOf == u"load"_s || settings.memoryOf == u"items"_s) {
        // One small request first, so that the network stack's one-time set-up is not counted.
        fetchBody(apiURL(source, QString()));
        if (settings.memoryOf == u"load"_s)
            printMemoryOf([&] { return loadLive(source); });
        else
            printMemoryOf([&] { return loadMovies(source, settings.category); });
    } else {
        throw BenchFailure {u"--memory-of takes live, movies, load or items"_s};
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
    // Generous for a busy machine; the provider answers from its own thread meanwhile.
    if (!process.waitForFinished(15 * 60 * 1000)) {
        process.kill();
        process.waitForFinished();
        throw BenchFailure {what + u" did not finish: "_s + process.errorString()};
    }
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        throw BenchFailure {
            what + u" failed: "_s + QString::fromUtf8(process.readAllStandardError()).trimmed()};
    return fieldsOf(process.readAllStandardOutput());
}

struct Memory
{
    qint64 peak = -1;
    qint64 retained = -1;
    qint64 records = -1;
    QString method;
};

Memory memoryOf(const Settings &settings, const QString &work, const QStringList &answers)
{
    QStringList arguments = {u"--memory-of"_s, work, u"--server"_s, settings.server, u"--extension"_s,
                             settings.extension};
    arguments += answers;
    const QHash<QString, QString> fields =
        runForLine(QCoreApplication::applicationFilePath(), arguments, u"the memory measurement of "_s + work);
    return Memory{fields.value(u"peak_bytes"_s, u"-1"_s).toLongLong(),
                  fields.value(u"retained_bytes"_s, u"-1"_s).toLongLong(),
                  fields.value(u"records"_s, u"-1"_s).toLongLong(), fields.value(u"peak_method"_s)};
}

Memory memoryOf(const Settings &settings, const Answer &answer)
{
    if (answer.kind == Answer::Kind::live)
        return memoryOf(settings, u"live"_s,
                        {u"--body"_s, answer.bodyPath, u"--categories-body"_s, answer.categoriesPath});
    return memoryOf(settings, u"movies"_s, {u"--body"_s, answer.bodyPath, u"--category"_s, answer.categoryID});
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

NodeFigures runNode(const QString &node, const Settings &settings, const PlaylistSource &source, const Answer &answer)
{
    QStringList arguments = {u"--expose-gc"_s, settings.nodeScript, u"--runs"_s, QString::number(settings.runs),
                             u"--line"_s};
    if (answer.kind == Answer::Kind::live) {
        arguments += {u"--categories"_s, answer.categoriesPath, u"--base"_s, source.base(), u"--username"_s,
                      source.username, u"--password"_s, source.password, u"--extension"_s, settings.extension,
                      answer.bodyPath, u"live"_s};
    } else {
        arguments += {u"--category"_s, answer.categoryID, answer.bodyPath, u"movies"_s};
    }
    const QHash<QString, QString> fields = runForLine(node, arguments, u"node on "_s + answer.label);
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

// The node program, or the reason it cannot run.
std::pair<QString, QString> nodeProgram(const Settings &settings)
{
    const QString node = QStandardPaths::findExecutable(u"node"_s);
    if (node.isEmpty())
        return {QString(), u"node is not installed"_s};
    if (!QFileInfo::exists(settings.nodeScript))
        return {QString(), settings.nodeScript + u" is not there"_s};
    return {node, QString()};
}

QString nodeVersion(const QString &node)
{
    QProcess version;
    version.start(node, {u"--version"_s});
    if (!version.waitForFinished())
        return QString();
    return QString::fromLatin1(version.readAllStandardOutput()).trimmed();
}

// ---------------------------------------------------------------------------------------------------
// Real provider captures: every *get_live_streams.json beside its *get_live_categories.json, and
// every *get_vod_streams.json of at least 10 kB, under <fixtures>/xtream.

QList<Answer> realAnswers(const QString &fixtures)
{
    QStringList paths;
    QDirIterator files(fixtures + u"/xtream"_s, {u"*get_live_streams.json"_s, u"*get_vod_streams.json"_s},
                       QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext())
        paths += files.next();
    std::sort(paths.begin(), paths.end());

    QList<Answer> answers;
    for (const QString &path : std::as_const(paths)) {
        const QFileInfo file(path);
        const bool live = file.fileName().endsWith(u"get_live_streams.json"_s);
        QString provider = file.fileName().section(u"get_"_s, 0, 0);
        provider.chop(provider.endsWith(u'-') || provider.endsWith(u'_') ? 1 : 0);
        if (provider.isEmpty())
            provider = file.dir().dirName();
        Answer answer;
        answer.bodyPath = path;
        if (live) {
            answer.kind = Answer::Kind::live;
            answer.label = u"live, real "_s + provider;
            answer.categoriesPath = file.dir().filePath(
                file.fileName().replace(u"get_live_streams.json"_s, u"get_live_categories.json"_s));
            if (!QFileInfo::exists(answer.categoriesPath))
                continue;
        } else {
            if (file.size() < 10000)
                continue;
            answer.kind = Answer::Kind::movies;
            answer.label = u"movies, real "_s + provider;
            answer.categoryID = u"1"_s;
        }
        answers.append(answer);
    }
    return answers;
}

// ---------------------------------------------------------------------------------------------------
// The table.

QString number(double value, int decimals)
{
    return value < 0 ? u"-"_s : QString::number(value, 'f', decimals);
}

QString megabytes(qint64 bytes)
{
    if (bytes < 0)
        return u"-"_s;
    return QString::number(double(bytes) / 1e6, 'f', bytes < 1'000'000 ? 2 : 1);
}

QString ratio(double value)
{
    return value < 0 || !std::isfinite(value) ? u"-"_s : QString::number(value, 'f', 2) + u'x';
}

QString perSecond(qsizetype records, double milliseconds)
{
    return milliseconds <= 0 ? u"-"_s : QString::number(qint64(double(records) / (milliseconds / 1e3)));
}

struct Row
{
    QString label;
    qsizetype records = 0;
    qint64 bodyBytes = 0;
    Times ours;
    Memory memory;
    QByteArray fingerprint;
    std::optional<NodeFigures> node;
};

constexpr int labelWidth = 26;

QStringList cells(const QStringList &values, const QList<int> &widths)
{
    QStringList result;
    for (qsizetype i = 0; i < values.size(); ++i)
        result += values.at(i) == u"|"_s ? values.at(i) : values.at(i).rightJustified(widths.at(i));
    return result;
}

const QList<int> oursWidths = {7, 6, 0, 9, 8, 8, 9, 7, 6};
const QList<int> nodeWidths = {0, 6, 8, 8, 8, 9, 7, 6, 0, 6, 6};

void printHeader(QTextStream &out, bool withNode)
{
    QStringList line = {u"stage"_s.leftJustified(labelWidth)};
    line += cells({u"records"_s, u"MB"_s, u"|"_s, u"Quenvo ms"_s, u"best ms"_s, u"cpu ms"_s, u"records/s"_s,
                   u"peak MB"_s, u"peak"_s},
                  oursWidths);
    if (withNode) {
        line += cells({u"|"_s, u"decode"_s, u"node ms"_s, u"best ms"_s, u"cpu ms"_s, u"records/s"_s, u"peak MB"_s,
                       u"peak"_s, u"|"_s, u"speed"_s, u"cpu"_s},
                      nodeWidths);
    }
    out << line.join(u' ') << '\n';
}

void printRow(QTextStream &out, const Row &row, bool withNode)
{
    const double median = row.ours.wall.medianMilliseconds();
    const double cpu = row.ours.cpu.medianMilliseconds();
    const double body = double(row.bodyBytes);
    QStringList line = {row.label.leftJustified(labelWidth)};
    line += cells({QString::number(row.records), megabytes(row.bodyBytes), u"|"_s, number(median, 2),
                   number(row.ours.wall.bestMilliseconds(), 2), number(cpu, 2), perSecond(row.records, median),
                   megabytes(row.memory.peak), ratio(row.memory.peak < 0 ? -1 : double(row.memory.peak) / body)},
                  oursWidths);
    if (withNode) {
        if (row.node) {
            const NodeFigures &node = *row.node;
            line += cells({u"|"_s, number(node.decodeMilliseconds, 2), number(node.medianMilliseconds, 2),
                           number(node.bestMilliseconds, 2), number(node.cpuMilliseconds, 2),
                           perSecond(row.records, node.medianMilliseconds), megabytes(node.peak),
                           ratio(node.peak < 0 ? -1 : double(node.peak) / body), u"|"_s,
                           ratio(node.medianMilliseconds / median), ratio(node.cpuMilliseconds / cpu)},
                          nodeWidths);
        } else {
            line += cells({u"|"_s, u"-"_s, u"-"_s, u"-"_s, u"-"_s, u"-"_s, u"-"_s, u"-"_s, u"|"_s, u"-"_s, u"-"_s},
                          nodeWidths);
        }
    }
    out << line.join(u' ') << '\n';
}

// ---------------------------------------------------------------------------------------------------

// A million rows, each a category of its own, the last one also a live stream: the readers go through
// all of them (categories) or skip all but one (live streams). Problems found are added to `problems`.
void millionRows(QTextStream &out, int runs, const PlaylistSource &source, QStringList &problems)
{
    constexpr int rows = 1000000;
    QByteArray body;
    body.reserve(rows * 20 + 64);
    body += '[';
    for (int i = 0; i < rows - 1; ++i)
        body += "{\"category_id\":" + QByteArray::number(i) + "},";
    body += R"({"category_id":999999,"category_name":"Darrera","stream_id":7,"name":"Darrer"}])";

    Times categoriesTimes;
    Times streamsTimes;
    const qsizetype categories
        = timed(runs, categoriesTimes, [&] { return XtreamReaders::catalogCategories(body); }).size();
    const qsizetype channels
        = timed(runs, streamsTimes, [&] { return XtreamReaders::liveStreams(body, source, u"ts"_s, {}); }).size();
    if (categories != rows || channels != 1)
        problems += u"a million rows: %1 categories and %2 channels, %3 and 1 expected"_s.arg(categories).arg(channels).arg(rows);
    out << "A million rows (" << megabytes(body.size()) << " MB): catalogCategories "
        << number(categoriesTimes.wall.medianMilliseconds(), 1) << " ms, liveStreams "
        << number(streamsTimes.wall.medianMilliseconds(), 1) << " ms (wall, median).\n";
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
        throw BenchFailure {u"the provider did not start: "_s + server.errorString()};
    const ProviderCatalog &catalog = server.catalog();

    // Every movie in the category that items() is asked for.
    const QString movieCategory = catalog.vodCategoryID(0);
    for (int index = 0; index < catalog.movieCount(); ++index) {
        if (catalog.movieCategory(index) != 0)
            throw BenchFailure {
                u"the provider put movie %1 outside category %2"_s.arg(index).arg(movieCategory)};
    }

    settings.server = server.baseURL().toString();
    const PlaylistSource source = demoSource(settings.server);

    // The answers, once, for the reading stage and for node.
    const QByteArray account = fetchBody(apiURL(source, QString()));
    settings.extension = XtreamReaders::accountStreamExtension(account);
    if (!QDir().mkpath(settings.dataFolder))
        throw BenchFailure {u"cannot create "_s + settings.dataFolder};
    const QDir data(settings.dataFolder);
    Answer providerLive{u"live, provider"_s, Answer::Kind::live, data.filePath(u"xtream-live-streams.json"_s),
                        data.filePath(u"xtream-live-categories.json"_s), QString(), catalog.liveChannelCount()};
    Answer providerMovies{u"movies, provider"_s, Answer::Kind::movies, data.filePath(u"xtream-vod-streams.json"_s),
                          QString(), movieCategory, catalog.movieCount()};
    writeFile(providerLive.categoriesPath, fetchBody(apiURL(source, u"get_live_categories"_s)));
    writeFile(providerLive.bodyPath, fetchBody(apiURL(source, u"get_live_streams"_s)));
    writeFile(providerMovies.bodyPath,
              fetchBody(CatalogRepository::requestURL(source, u"get_vod_streams"_s, {{u"category_id"_s, movieCategory}})));

    QList<Answer> answers = {providerLive, providerMovies};
    QString fixturesNote;
    if (settings.fixturesFolder.isEmpty() || !QFileInfo(settings.fixturesFolder + u"/xtream"_s).isDir())
        fixturesNote = u"Real provider captures skipped: "_s + settings.fixturesFolder + u"/xtream is not there.\n"_s;
    else
        answers += realAnswers(settings.fixturesFolder);

    // Peak memory first, each in a fresh process, while this one is still small.
    QList<Row> readings;
    for (const Answer &answer : std::as_const(answers)) {
        Row row;
        row.label = answer.label;
        row.bodyBytes = QFileInfo(answer.bodyPath).size()
            + (answer.kind == Answer::Kind::live ? QFileInfo(answer.categoriesPath).size() : 0);
        row.memory = memoryOf(settings, answer);
        readings.append(row);
    }
    Row load{u"PlaylistRepository::load"_s, 0,
             account.size() + QFileInfo(providerLive.categoriesPath).size() + QFileInfo(providerLive.bodyPath).size(),
             {}, {}, {}, {}};
    Row items{u"CatalogRepository::items"_s, 0, QFileInfo(providerMovies.bodyPath).size(), {}, {}, {}, {}};
    load.memory = memoryOf(settings, u"load"_s, {});
    items.memory = memoryOf(settings, u"items"_s, {u"--category"_s, movieCategory});

    // The reading stage alone, on the same bytes; node right after each, so that both sides of a row
    // meet the same load on a shared machine.
    const auto [node, nodeMissing] = nodeProgram(settings);
    for (qsizetype i = 0; i < answers.size(); ++i) {
        const Answer &answer = answers.at(i);
        Row &row = readings[i];
        const QByteArray body = readFile(answer.bodyPath);
        if (answer.kind == Answer::Kind::live) {
            const QByteArray categories = readFile(answer.categoriesPath);
            const QList<Channel> channels = timed(settings.runs, row.ours, [&] {
                return readLive(categories, body, source, settings.extension);
            });
            row.records = channels.size();
            row.fingerprint = fingerprint(channels);
        } else {
            const QList<CatalogItem> titles =
                timed(settings.runs, row.ours, [&] { return readMovies(body, answer.categoryID); });
            row.records = titles.size();
            row.fingerprint = fingerprint(titles);
        }
        if (!node.isEmpty())
            row.node = runNode(node, settings, source, answer);
    }

    // Whole loads: requests, transfer, reading off the main thread.
    load.records = timed(settings.runs, load.ours, [&] { return loadLive(source); }).size();
    items.records = timed(settings.runs, items.ours, [&] { return loadMovies(source, movieCategory); }).size();

    QStringList problems;
    const auto expect = [&](const QString &what, qint64 found, qint64 expected) {
        if (found != expected)
            problems += u"%1: %2 records, %3 expected"_s.arg(what).arg(found).arg(expected);
    };
    for (qsizetype i = 0; i < answers.size(); ++i) {
        const Answer &answer = answers.at(i);
        const Row &row = readings.at(i);
        if (answer.expectedRecords >= 0)
            expect(row.label, row.records, answer.expectedRecords);
        expect(u"memory run of "_s + row.label, row.memory.records, row.records);
        if (row.node) {
            expect(u"node on "_s + row.label, row.node->records, row.records);
            if (row.node->fingerprint != row.fingerprint)
                problems += u"node's records differ from XtreamReaders' on "_s + row.label + u" (fingerprints)"_s;
        }
    }
    expect(load.label, load.records, catalog.liveChannelCount());
    expect(u"memory run of "_s + load.label, load.memory.records, catalog.liveChannelCount());
    expect(items.label, items.records, catalog.movieCount());
    expect(u"memory run of "_s + items.label, items.memory.records, catalog.movieCount());

    out << "Provider in this process: " << catalog.liveChannelCount() << " live channels in "
        << catalog.liveCategoryCount() << " categories, " << catalog.movieCount() << " movies in category "
        << movieCategory << ". Load average " << BenchRun::loadAverage() << ".\n"
        << fixturesNote << "Median of " << settings.runs
        << " timed runs after a first one; MB = 10^6 bytes of the answers; cpu ms = median process CPU "
           "time;\n"
        << "peak = resident growth during the work in a fresh process (" << load.memory.method
        << "), in MB and times the answer size;\n"
        << "node: JSON.parse and the same mapping (bench/node/xtream.js) from text already decoded; decode = "
           "UTF-8 "
           "to string, not counted;\n"
        << "speed = node's median time / ours (wall; cpu).\n";
    if (node.isEmpty())
        out << "The node columns are skipped: " << nodeMissing << ".\n";
    else
        out << "node " << nodeVersion(node) << "; both sides' records compared (SHA-256 of every field of every record).\n";

    out << "\nJSON to records: XtreamReaders (liveCategories + liveStreams; catalogItems) vs node\n";
    printHeader(out, true);
    for (const Row &row : std::as_const(readings))
        printRow(out, row, true);

    out << "\nWhole loads over loopback (requests, transfer, reading off the main thread; cpu includes the "
           "provider's thread)\n";
    printHeader(out, false);
    printRow(out, load, false);
    printRow(out, items, false);
    millionRows(out, settings.runs, source, problems);
    out << "Records kept after reading (resident growth with the result alive): provider live "
        << megabytes(readings.at(0).memory.retained) << " MB, provider movies "
        << megabytes(readings.at(1).memory.retained) << " MB.\n";

    const Row &live = readings.at(0);
    const Row &movies = readings.at(1);
    if (live.node && movies.node) {
        // The target counts CPU time: on a shared machine the wall time includes waiting for a core.
        const auto verdict = [](double speed) { return speed >= 4 ? u"met"_s : u"NOT met"_s; };
        const double liveSpeed = live.node->medianMilliseconds / live.ours.wall.medianMilliseconds();
        const double liveCPU = live.node->cpuMilliseconds / live.ours.cpu.medianMilliseconds();
        const double movieSpeed = movies.node->medianMilliseconds / movies.ours.wall.medianMilliseconds();
        const double movieCPU = movies.node->cpuMilliseconds / movies.ours.cpu.medianMilliseconds();
        out << "Target, JSON to records at least 4x node's CPU time: live " << ratio(liveCPU) << " ("
            << verdict(liveCPU) << "), movies " << ratio(movieCPU) << " (" << verdict(movieCPU)
            << "); by wall time live " << ratio(liveSpeed) << ", movies " << ratio(movieSpeed) << ".\n";
    }
    out << "Load average after: " << BenchRun::loadAverage() << '\n';
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
    const QCommandLineOption dataOption(
        u"data"_s, u"Where the answers are written for node (default: bench-data in the build folder)."_s, u"folder"_s);
    const QCommandLineOption fixturesOption(u"fixtures"_s,
                                            u"Third-party fixtures; real captures are read from its xtream folder."_s,
                                            u"folder"_s, QStringLiteral(QUENVO_FIXTURES_DIR));
    const QCommandLineOption nodeOption(u"node-script"_s, u"The node side (default: bench/node/xtream.js)."_s,
                                        u"file"_s, QStringLiteral(QUENVO_NODE_XTREAM_SCRIPT));
    // The child processes' options, one child per memory measurement.
    QCommandLineOption memoryOption(u"memory-of"_s, u"Peak memory of one piece of work."_s, u"work"_s);
    QCommandLineOption serverOption(u"server"_s, u"Provider address."_s, u"url"_s);
    QCommandLineOption extensionOption(u"extension"_s, u"Live stream extension."_s, u"extension"_s);
    QCommandLineOption bodyOption(u"body"_s, u"Answer to read."_s, u"file"_s);
    QCommandLineOption categoriesOption(u"categories-body"_s, u"Live categories answer."_s, u"file"_s);
    QCommandLineOption categoryOption(u"category"_s, u"Movie category."_s, u"id"_s);
    for (QCommandLineOption *hidden :
         {&memoryOption, &serverOption, &extensionOption, &bodyOption, &categoriesOption, &categoryOption})
        hidden->setFlags(QCommandLineOption::HiddenFromHelp);
    parser.addOptions({runsOption, channelsOption, moviesOption, dataOption, fixturesOption, nodeOption, memoryOption,
                       serverOption, extensionOption, bodyOption, categoriesOption, categoryOption});
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
    settings.fixturesFolder = parser.value(fixturesOption);
    settings.nodeScript = parser.value(nodeOption);
    settings.memoryOf = parser.value(memoryOption);
    settings.server = parser.value(serverOption);
    settings.extension = parser.value(extensionOption);
    settings.body = parser.value(bodyOption);
    settings.categoriesBody = parser.value(categoriesOption);
    settings.category = parser.value(categoryOption);

    try {
        if (!settings.memoryOf.isEmpty()) {
            measureMemoryOf(settings);
            return 0;
        }
        return benchmark(settings);
    } catch (const BenchFailure &failure) {
        QTextStream(stderr) << "quenvo-bench-xtream: " << failure.message << '\n';
    } catch (const IPTVError &error) {
        QTextStream(stderr) << "quenvo-bench-xtream: " << error.message() << '\n';
    } catch (const std::exception &error) {
        QTextStream(stderr) << "quenvo-bench-xtream: " << error.what() << '\n';
    }
    return 1;
}
