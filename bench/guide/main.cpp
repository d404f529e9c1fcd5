// quenvo-bench-guide: XmltvParser on the real guides of the shared fixtures and on a generated
// 10,000-channel week, next to the npm parsers @iptv/xmltv and epg-parser on the same bytes; the
// kept 26-hour window's size; and matching 100,000 channels to the guide.
//   quenvo-bench-guide [--runs 7] [--data DIR] [--fixtures DIR] [--node-script FILE]
//
// The generated guide (GuideGenerator, seed 1) is written to DIR/guide-10k-7d.xml and, gzip-compressed
// by zlib, to DIR/guide-10k-7d.xml.gz, when they are not there yet.
// Each figure is the median of the timed runs after a first one. "all" reads every programme (the npm
// parsers' work); "window" keeps the 26 hours around a time in the middle of the guide (the
// application's work). "QXmlStreamReader" is Qt's reader only walking the tokens of the same bytes:
// the least a reader built on it would cost. Peak memory is measured in fresh child processes of
// this executable (hidden option --memory-of): resident growth from the kernel's high-water mark,
// reset just before the parse, the file's bytes already loaded. MB are 10^6 bytes of XML.

#include "CpuClock.h"
#include "DurationSamples.h"
#include "GuideGenerator.h"
#include "PeakMemory.h"

#include "guide/GuideMatcher.h"
#include "guide/XmltvParser.h"
#include "records/IPTVError.h"
#include "text/LocalizedText.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QXmlStreamReader>

#include <zlib.h>

#include <cstdio>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 generatedNow = 1'795'392'000 + 3 * 86400 + 12 * 3600; // 2026-11-26 12:00 UTC

struct Failure
{
    QString message;
};

struct Settings
{
    int runs = 7;
    QString data;
    QString fixtures;
    QString nodeScript;
    QString memoryOf;
    QString mode;
};

struct Timing
{
    double medianMs = 0;
    double bestMs = 0;
    double cpuMs = 0;
};

template<typename Work>
Timing timed(int runs, Work work)
{
    work(); // the first run warms caches and the allocator
    DurationSamples wall;
    DurationSamples cpu;
    for (int run = 0; run < runs; ++run) {
        const qint64 cpuStart = CpuClock::processNanoseconds();
        QElapsedTimer timer;
        timer.start();
        work();
        wall.add(timer.nsecsElapsed());
        cpu.add(CpuClock::processNanoseconds() - cpuStart);
    }
    return {wall.medianMilliseconds(), wall.bestMilliseconds(), cpu.medianMilliseconds()};
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw Failure {u"cannot read "_s + path};
    return file.readAll();
}

XmltvParser::Options optionsFor(const QString &mode)
{
    const GuideWindow window = mode == u"window"_s ? GuideWindow::around(generatedNow) : GuideWindow::everything();
    return XmltvParser::Options {window, XmltvParser::defaultMaximumBytes};
}

// The child's side: one parse of FILE, its resident growth printed as key=value.
int measureMemoryOf(const Settings &settings)
{
    const QByteArray bytes = readFile(settings.memoryOf);
    const PeakMemory memory = PeakMemory::start();
    const GuideData guide = XmltvParser::parse(bytes, optionsFor(settings.mode));
    const qint64 growth = memory.growth();
    std::printf("growth=%lld counted=%lld programmes=%lld method=%s\n", qlonglong(growth), qlonglong(guide.byteSize()),
                qlonglong(guide.programmeCount()), memory.method() == PeakMemory::Method::highWaterMark ? "reset" : "lifetime");
    return 0;
}

QHash<QString, QString> fieldsOf(const QByteArray &line)
{
    QHash<QString, QString> fields;
    for (const QByteArray &pair : line.trimmed().split(' ')) {
        const qsizetype equals = pair.indexOf('=');
        if (equals > 0)
            fields.insert(QString::fromUtf8(pair.left(equals)), QString::fromUtf8(pair.mid(equals + 1)));
    }
    return fields;
}

QHash<QString, QString> runChild(const QString &program, const QStringList &arguments, int timeoutSeconds)
{
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished(timeoutSeconds * 1000) || process.exitCode() != 0) {
        process.kill();
        process.waitForFinished();
        return {{u"error"_s, u"exit_%1"_s.arg(process.exitCode())}};
    }
    return fieldsOf(process.readAllStandardOutput());
}

QHash<QString, QString> memoryOf(const QString &file, const QString &mode)
{
    return runChild(QCoreApplication::applicationFilePath(), {u"--memory-of"_s, file, u"--mode"_s, mode}, 600);
}

double tokenize(const QByteArray &bytes)
{
    QXmlStreamReader reader(bytes);
    qint64 tokens = 0;
    while (!reader.atEnd()) {
        reader.readNext();
        ++tokens;
    }
    return double(tokens);
}

void gzipFile(const QString &from, const QString &to)
{
    const QByteArray plain = readFile(from);
    z_stream stream {};
    deflateInit2(&stream, 6, Z_DEFLATED, 16 + MAX_WBITS, 8, Z_DEFAULT_STRATEGY);
    QByteArray out(qsizetype(deflateBound(&stream, uLong(plain.size()))), Qt::Uninitialized);
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(plain.constData()));
    stream.avail_in = uInt(plain.size());
    stream.next_out = reinterpret_cast<Bytef *>(out.data());
    stream.avail_out = uInt(out.size());
    deflate(&stream, Z_FINISH);
    out.truncate(qsizetype(stream.total_out));
    deflateEnd(&stream);
    QFile file(to);
    if (!file.open(QIODevice::WriteOnly) || file.write(out) != out.size())
        throw Failure {u"cannot write "_s + to};
}

// The generated guide, written when absent; its path.
QString generatedGuide(const Settings &settings)
{
    QDir().mkpath(settings.data);
    const QString path = QDir(settings.data).filePath(u"guide-10k-7d.xml"_s);
    if (!QFileInfo::exists(path)) {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly))
            throw Failure {u"cannot write "_s + path};
        const GuideGenerator::Written written =
            GuideGenerator(GuideGenerator::Options()).write([&](const QByteArray &piece) { file.write(piece); });
        std::printf("Generated %s: %lld bytes, %lld channels, %lld programmes\n", qPrintable(path),
                    qlonglong(written.bytes), qlonglong(written.channels), qlonglong(written.programmes));
    }
    if (!QFileInfo::exists(path + u".gz"_s))
        gzipFile(path, path + u".gz"_s);
    const QByteArray digest = QCryptographicHash::hash(readFile(path), QCryptographicHash::Sha256).toHex();
    std::printf("%s: %lld bytes, SHA-256 %s; .gz %lld bytes\n", qPrintable(QFileInfo(path).fileName()),
                qlonglong(QFileInfo(path).size()), digest.constData(), qlonglong(QFileInfo(path + u".gz"_s).size()));
    return path;
}

QString column(const QHash<QString, QString> &fields, const QString &key)
{
    if (fields.contains(u"error"_s))
        return key == u"parse_median_ms"_s ? u"refused"_s : u"-"_s;
    return fields.value(key, u"-"_s);
}

void compareFiles(const Settings &settings, const QStringList &files)
{
    const QDir nodeFolder = QFileInfo(settings.nodeScript).dir();
    QString nodeMissing;
    if (!QFileInfo::exists(settings.nodeScript))
        nodeMissing = settings.nodeScript + u" is not there"_s;
    else if (QProcess::execute(u"node"_s, {u"--version"_s}) != 0)
        nodeMissing = u"node is not installed"_s;
    else if (!nodeFolder.exists(u"node_modules/@iptv/xmltv/package.json"_s) || !nodeFolder.exists(u"node_modules/epg-parser/package.json"_s))
        nodeMissing = u"@iptv/xmltv or epg-parser is not installed (npm ci in bench/node)"_s;
    const bool node = nodeMissing.isEmpty();
    if (!node)
        std::printf("The node columns are skipped: %s.\n", qPrintable(nodeMissing));
    std::printf("\n%-32s %6s %8s %5s | %9s %8s %7s %6s | %9s | %9s %8s %6s | %9s %8s %6s | %6s %6s\n", "guide", "MB",
                "progr.", "mode", "Quenvo ms", "cpu ms", "MB/s", "peak", "QXSR ms", "@iptv ms", "cpu ms", "peak",
                "epg-p ms", "cpu ms", "peak", "speed", "cpu");
    for (const QString &path : files) {
        const QByteArray bytes = readFile(path);
        const bool compressed = path.endsWith(u".gz"_s);
        const bool generated = QFileInfo(path).fileName().startsWith(u"guide-10k"_s);
        const QStringList modes = generated ? QStringList {u"all"_s, u"window"_s} : QStringList {u"all"_s};
        for (const QString &mode : modes) {
            XmltvParser::Summary summary;
            qsizetype kept = 0;
            const Timing ours = timed(settings.runs, [&] {
                XmltvParser parser(optionsFor(mode));
                parser.feed(bytes);
                kept = parser.finish().programmeCount();
                summary = parser.summary();
            });
            const double megabytes = double(summary.xmlBytes) / 1e6;
            const QHash<QString, QString> memory = memoryOf(path, mode);
            const double peakRatio = memory.value(u"growth"_s, u"-1"_s).toDouble() / double(summary.xmlBytes);

            QString xsr = u"-"_s;
            QHash<QString, QString> iptv;
            QHash<QString, QString> epg;
            if (!compressed && mode == u"all"_s) {
                xsr = QString::number(timed(settings.runs, [&] { tokenize(bytes); }).medianMs, 'f', 1);
                if (node) {
                    const int nodeRuns = bytes.size() > 20'000'000 ? std::min(settings.runs, 2) : settings.runs;
                    const QStringList common {u"--expose-gc"_s, u"--max-old-space-size=16384"_s, settings.nodeScript,
                                              u"--runs"_s, QString::number(nodeRuns)};
                    iptv = runChild(u"node"_s, common + QStringList {u"--parser"_s, u"iptv-xmltv"_s, path}, 1800);
                    epg = runChild(u"node"_s, common + QStringList {u"--parser"_s, u"epg-parser"_s, path}, 3600);
                }
            }
            // Against the faster npm parser that read the file.
            double fastest = 0;
            double fastestCpu = 0;
            for (const auto *figures : {&iptv, &epg}) {
                const double ms = figures->value(u"parse_median_ms"_s).toDouble();
                if (!figures->contains(u"error"_s) && ms > 0 && (fastest == 0 || ms < fastest)) {
                    fastest = ms;
                    fastestCpu = figures->value(u"parse_cpu_median_ms"_s).toDouble();
                }
            }
            auto ratio = [](const QHash<QString, QString> &figures) {
                return figures.contains(u"peak_ratio"_s) ? figures.value(u"peak_ratio"_s) + u'x' : u"-"_s;
            };
            const QString name = QFileInfo(path).fileName();
            std::printf("%-32s %6.1f %8lld %5s | %9.1f %8.1f %7.1f %5.2fx | %9s | %9s %8s %6s | %9s %8s %6s | %6s %6s\n",
                        qPrintable(name.left(32)), megabytes, qlonglong(mode == u"all"_s ? summary.programmes : kept),
                        qPrintable(mode), ours.medianMs, ours.cpuMs, megabytes / (ours.medianMs / 1e3), peakRatio,
                        qPrintable(xsr), qPrintable(column(iptv, u"parse_median_ms"_s)),
                        qPrintable(column(iptv, u"parse_cpu_median_ms"_s)), qPrintable(ratio(iptv)),
                        qPrintable(column(epg, u"parse_median_ms"_s)), qPrintable(column(epg, u"parse_cpu_median_ms"_s)),
                        qPrintable(ratio(epg)),
                        fastest > 0 ? qPrintable(QString::number(fastest / ours.medianMs, 'f', 2) + u'x') : "-",
                        fastest > 0 ? qPrintable(QString::number(fastestCpu / ours.cpuMs, 'f', 2) + u'x') : "-");
            for (const auto *figures : {&iptv, &epg}) {
                if (figures->contains(u"error"_s))
                    std::printf("  %s refused the file: %s\n", qPrintable(figures->value(u"parser"_s)),
                                qPrintable(figures->value(u"error"_s)));
                else if (figures->contains(u"programmes"_s) && figures->value(u"programmes"_s).toLongLong() != summary.programmes)
                    std::printf("  %s read %s programmes\n", qPrintable(figures->value(u"parser"_s)),
                                qPrintable(figures->value(u"programmes"_s)));
            }
            if (mode == u"window"_s)
                std::printf("  window of 26 h around 2026-11-26 12:00 UTC: %lld programmes, %.1f MB counted (GuideData::byteSize), "
                            "peak growth %.1f MB\n",
                            qlonglong(kept), memory.value(u"counted"_s).toDouble() / 1e6,
                            memory.value(u"growth"_s).toDouble() / 1e6);
        }
    }
}

// The window of a denser guide: two days of programmes half as long (75 minutes on average), made
// in memory, so that the 26 hours hold about 200,000 programmes.
void measureDenseWindow()
{
    GuideGenerator::Options options;
    options.days = 2;
    options.lengthDivisor = 2;
    const qint64 now = options.firstDay + 86400;
    QByteArray xml;
    GuideGenerator(options).write([&](const QByteArray &piece) { xml += piece; });
    const GuideData guide = XmltvParser::parse(xml, XmltvParser::Options {GuideWindow::around(now), XmltvParser::defaultMaximumBytes});
    std::printf("\nDenser guide (10,000 channels, 2 days, 75-minute programmes, %.1f MB): the 26-hour window holds %lld "
                "programmes, %.1f MB counted (%.0f bytes a programme)\n",
                double(xml.size()) / 1e6, qlonglong(guide.programmeCount()), double(guide.byteSize()) / 1e6,
                double(guide.byteSize()) / double(guide.programmeCount()));
}

void timeMatching(const Settings &settings, const QString &guidePath)
{
    const GuideData guide = XmltvParser::parse(readFile(guidePath), optionsFor(u"window"_s));
    const int channels = int(guide.channelCount());
    // 100,000 of our channels: 30 % by the guide's id, 10 % by the id in capitals, 30 % by name
    // (capitals and accents as a playlist writes them), 30 % that the guide does not have.
    QList<GuideMatcher::Subject> subjects;
    QStringList names;
    for (int i = 0; i < 100'000; ++i) {
        const int channel = int((qint64(i) * 7919) % channels);
        const QString id = QString::fromUtf8(GuideGenerator::channelId(channel));
        switch (i % 10) {
        case 0: case 1: case 2:
            subjects.append({id, QString()});
            names.append(u"Canal %1"_s.arg(i));
            break;
        case 3:
            subjects.append({id.toUpper(), QString()});
            names.append(u"Canal %1"_s.arg(i));
            break;
        case 4: case 5: case 6:
            subjects.append({QString(), QString()});
            names.append(QString::fromUtf8(GuideGenerator::channelName(channel)).toUpper());
            break;
        default:
            subjects.append({u"desconegut.%1"_s.arg(i), QString()});
            names.append(u"Canal desconegut %1"_s.arg(i));
        }
    }
    const Timing folding = timed(settings.runs, [&] {
        for (qsizetype i = 0; i < names.size(); ++i)
            subjects[i].foldedName = LocalizedText::folded(names[i]);
    });
    std::optional<GuideMatcher> matcher;
    const Timing indexing = timed(settings.runs, [&] { matcher.emplace(guide); });
    QList<qsizetype> matches;
    const Timing matching = timed(settings.runs, [&] { matches = matcher->match(subjects); });
    const qsizetype found = std::count_if(matches.begin(), matches.end(), [](qsizetype m) { return m != GuideMatcher::noMatch; });
    std::printf("\nMatching 100,000 channels to %d guide channels (median ms, best in brackets):\n"
                "  fold our names      %8.1f (%.1f)\n  index the guide     %8.1f (%.1f)\n"
                "  match               %8.1f (%.1f)\n  matched %lld of 100,000 (70,000 expected)\n",
                channels, folding.medianMs, folding.bestMs, indexing.medianMs, indexing.bestMs, matching.medianMs,
                matching.bestMs, qlonglong(found));
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QCommandLineParser options;
    options.addOptions({{u"runs"_s, u"timed runs"_s, u"N"_s, u"7"_s},
                        {u"data"_s, u"folder of generated guides"_s, u"DIR"_s, u"build/bench-data"_s},
                        {u"fixtures"_s, u"shared fixtures"_s, u"DIR"_s, QStringLiteral(QUENVO_FIXTURES_DIR)},
                        {u"node-script"_s, u"bench/node/xmltv.js"_s, u"FILE"_s, QStringLiteral(QUENVO_NODE_XMLTV_SCRIPT)},
                        {u"memory-of"_s, u"(internal) measure one parse of FILE"_s, u"FILE"_s},
                        {u"mode"_s, u"(internal) all or window"_s, u"MODE"_s, u"all"_s}});
    options.process(app);
    Settings settings {options.value(u"runs"_s).toInt(), options.value(u"data"_s), options.value(u"fixtures"_s),
                       options.value(u"node-script"_s), options.value(u"memory-of"_s), options.value(u"mode"_s)};
    try {
        if (!settings.memoryOf.isEmpty())
            return measureMemoryOf(settings);
        const QString generated = generatedGuide(settings);
        QStringList files;
        const QDir fixtures(settings.fixtures + u"/xmltv"_s);
        for (const QString &name : fixtures.entryList({u"*.xml"_s, u"*.xml.gz"_s}, QDir::Files, QDir::Name))
            files.append(fixtures.filePath(name));
        if (files.isEmpty())
            std::printf("Real guides skipped: %s is not there.\n", qPrintable(fixtures.path()));
        files << generated << generated + u".gz"_s;
        std::printf("Median of %d timed parses after a first one; peak = resident growth of one parse in a fresh process / XML size;\n"
                    "speed = the faster npm parser's median / ours (wall, then CPU); QXSR = QXmlStreamReader walking the tokens.\n",
                    settings.runs);
        compareFiles(settings, files);
        measureDenseWindow();
        timeMatching(settings, generated);
    } catch (const Failure &failure) {
        std::fprintf(stderr, "quenvo-bench-guide: %s\n", qPrintable(failure.message));
        return 1;
    } catch (const IPTVError &error) {
        std::fprintf(stderr, "quenvo-bench-guide: %s\n", qPrintable(error.message()));
        return 1;
    }
    return 0;
}
