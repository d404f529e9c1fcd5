// quenvo-bench-m3u: how fast M3UParser::parse turns a playlist file into channels, and how much
// memory it takes doing so.
//   quenvo-bench-m3u [--runs 7] [--base URL] [--line] playlist.m3u
//
// The file is read once. UTF-8 decoding to QString is timed on its own. The first parse runs on a
// fresh heap and gives the peak memory (resident growth during that parse); the timed parses follow.
// The floor is measured in the same run: decoding the file's UTF-8 and computing the SHA-256 of
// every address the parser kept, the least work any parse of the file into channels must do; the
// parse is then given as a multiple of it. MB are 10^6 bytes of the file as stored (UTF-8).

#include "CpuClock.h"
#include "DurationSamples.h"
#include "PeakMemory.h"

#include "m3u/M3UParser.h"
#include "records/IPTVError.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTextStream>

using namespace Qt::StringLiterals;

namespace {

// Lines that start an entry, counted the same way by the JavaScript side: "#EXTINF:" once leading
// blanks are trimmed.
qsizetype countEntries(const QByteArray &bytes)
{
    qsizetype count = 0;
    qsizetype position = 0;
    const qsizetype size = bytes.size();
    while (position < size) {
        qsizetype lineEnd = bytes.indexOf('\n', position);
        if (lineEnd < 0)
            lineEnd = size;
        qsizetype start = position;
        while (start < lineEnd && (bytes.at(start) == ' ' || bytes.at(start) == '\t'))
            ++start;
        if (QByteArrayView(bytes).sliced(start, lineEnd - start).startsWith("#EXTINF:"))
            ++count;
        position = lineEnd + 1;
    }
    return count;
}

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

QString decode(const QByteArray &bytes, DurationSamples &samples)
{
    QElapsedTimer timer;
    timer.start();
    QString text = QString::fromUtf8(bytes);
    samples.add(timer.nsecsElapsed());
    return text;
}

struct ParseTimes
{
    DurationSamples wall;
    DurationSamples cpu;
};

// The floor of a parse: the file decoded, and the identity of every kept address computed.
qsizetype floorRun(const QByteArray &bytes, const QList<QByteArray> &addresses, ParseTimes &times)
{
    QElapsedTimer timer;
    const qint64 cpuStart = CpuClock::processNanoseconds();
    timer.start();
    const QString text = QString::fromUtf8(bytes);
    quint8 mixed = 0;
    for (const QByteArray &address : addresses)
        mixed ^= Channel::digestOf(address)[0];
    times.wall.add(timer.nsecsElapsed());
    times.cpu.add(CpuClock::processNanoseconds() - cpuStart);
    return text.size() + mixed; // used, so that nothing is optimised away
}

QList<Channel> parse(QStringView text, const QUrl &base, ParseTimes &times)
{
    QElapsedTimer timer;
    const qint64 cpuStart = CpuClock::processNanoseconds();
    timer.start();
    QList<Channel> channels = M3UParser::parse(text, base);
    times.wall.add(timer.nsecsElapsed());
    times.cpu.add(CpuClock::processNanoseconds() - cpuStart);
    return channels;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QTextStream out(stdout);
    QTextStream err(stderr);

    QCommandLineParser parser;
    parser.setApplicationDescription(u"Times M3UParser::parse on a playlist file."_s);
    parser.addHelpOption();
    const QCommandLineOption runsOption(
        u"runs"_s, u"Timed parses after the first one (default 7)."_s, u"count"_s, u"7"_s);
    const QCommandLineOption baseOption(u"base"_s, u"Address the playlist was downloaded from."_s, u"url"_s,
        u"http://lists.example.test/bench/playlist.m3u"_s);
    const QCommandLineOption lineOption(u"line"_s, u"Print one line of key=value pairs."_s);
    parser.addOptions({runsOption, baseOption, lineOption});
    parser.addPositionalArgument(u"file"_s, u"The playlist."_s);
    parser.process(app);

    bool runsOK = false;
    const int runs = parser.value(runsOption).toInt(&runsOK);
    if (!runsOK || runs < 1 || parser.positionalArguments().size() != 1) {
        err << "quenvo-bench-m3u: one playlist file and --runs >= 1 expected\n";
        return 2;
    }
    const QString path = parser.positionalArguments().constFirst();
    const QUrl base(parser.value(baseOption));

    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        err << "quenvo-bench-m3u: cannot read " << path << ": " << file.errorString() << '\n';
        return 1;
    }
    const QByteArray bytes = file.readAll();
    file.close();
    const qsizetype entries = countEntries(bytes);

    DurationSamples decoding;
    ParseTimes firstParse;
    ParseTimes parsing;
    ParseTimes floor;
    qsizetype floorCheck = 0;
    qsizetype channelCount = 0;
    qint64 peakGrowth = -1;
    qint64 residentBefore = -1;
    double extrasPerChannel = 0;
    PeakMemory::Method peakMethod = PeakMemory::Method::unavailable;
    try {
        QString text = decode(bytes, decoding);

        // First parse: the memory measurement, before anything else has been allocated and freed.
        {
            const PeakMemory memory = PeakMemory::start();
            const QList<Channel> channels = parse(text, base, firstParse);
            peakGrowth = memory.growth();
            residentBefore = memory.residentAtStart();
            peakMethod = memory.method();
            channelCount = channels.size();
        }

        for (int run = 1; run < runs; ++run)
            text = decode(bytes, decoding);
        QList<QByteArray> keptAddresses;
        for (int run = 0; run < runs; ++run) {
            const QList<Channel> channels = parse(text, base, parsing);
            if (channels.size() != channelCount) {
                err << "quenvo-bench-m3u: the parse is not repeatable\n";
                return 1;
            }
            if (run == 0) {
                for (const Channel &channel : channels)
                    keptAddresses.append(channel.encodedURL());
            }
            // The floor right after each parse, so that both meet the same load.
            floorCheck += floorRun(bytes, keptAddresses, floor);
        }
        // What the list says beside the channels (guide ids, logos), kept next to them.
        const ChannelListing listing = M3UParser::parseListing(text, base.toEncoded());
        extrasPerChannel = double(listing.extras.byteSize()) / double(std::max<qsizetype>(1, listing.channels.size()));
    } catch (const IPTVError &error) {
        err << "quenvo-bench-m3u: " << path << ": " << error.message() << '\n';
        return 1;
    }

    const double megabytes = double(bytes.size()) / 1e6;
    const double medianSeconds = parsing.wall.medianMilliseconds() / 1e3;
    const double megabytesPerSecond = megabytes / medianSeconds;
    const double entriesPerSecond = double(entries) / medianSeconds;
    const double peakRatio = peakGrowth < 0 ? -1 : double(peakGrowth) / double(bytes.size());
    const double floorRatio = parsing.wall.medianMilliseconds() / floor.wall.medianMilliseconds();
    const double floorCPURatio = parsing.cpu.medianMilliseconds() / floor.cpu.medianMilliseconds();

    if (parser.isSet(lineOption)) {
        out << "bytes=" << bytes.size() << " entries=" << entries << " channels=" << channelCount
            << " runs=" << runs << Qt::fixed << qSetRealNumberPrecision(2)
            << " decode_median_ms=" << decoding.medianMilliseconds()
            << " decode_best_ms=" << decoding.bestMilliseconds()
            << " parse_first_ms=" << firstParse.wall.medianMilliseconds()
            << " parse_median_ms=" << parsing.wall.medianMilliseconds()
            << " parse_best_ms=" << parsing.wall.bestMilliseconds()
            << " parse_cpu_median_ms=" << parsing.cpu.medianMilliseconds()
            << " floor_median_ms=" << floor.wall.medianMilliseconds()
            << " floor_cpu_median_ms=" << floor.cpu.medianMilliseconds() << " floor_ratio=" << floorRatio
            << " floor_cpu_ratio=" << floorCPURatio
            << " mb_per_s=" << megabytesPerSecond << qSetRealNumberPrecision(0)
            << " entries_per_s=" << entriesPerSecond << " peak_parse_bytes=" << peakGrowth
            << qSetRealNumberPrecision(2) << " peak_ratio=" << peakRatio
            << " peak_method=" << methodName(peakMethod) << '\n';
        return 0;
    }

    out << Qt::fixed << qSetRealNumberPrecision(1);
    out << "file          " << path << '\n';
    out << "size          " << megabytes << " MB (" << bytes.size() << " bytes), " << entries
        << " #EXTINF entries\n";
    out << "channels      " << channelCount << '\n';
    out << "beside them   " << extrasPerChannel << " B per channel of guide ids and logos (ChannelExtras)\n";
    out << "decode UTF-8  median " << decoding.medianMilliseconds() << " ms, best "
        << decoding.bestMilliseconds() << " ms (" << decoding.count() << " runs)\n";
    out << "parse         median " << parsing.wall.medianMilliseconds() << " ms, best "
        << parsing.wall.bestMilliseconds() << " ms (" << parsing.wall.count() << " runs after a first one of "
        << firstParse.wall.medianMilliseconds() << " ms); CPU time median "
        << parsing.cpu.medianMilliseconds() << " ms\n";
    out << "floor         median " << floor.wall.medianMilliseconds() << " ms, CPU time median "
        << floor.cpu.medianMilliseconds() << " ms (UTF-8 decoding plus the SHA-256 of the " << channelCount
        << " kept addresses, after each parse); the parse takes " << qSetRealNumberPrecision(2) << floorRatio
        << " x the floor (CPU time " << floorCPURatio << " x)" << qSetRealNumberPrecision(1) << '\n';
    out << "throughput    " << megabytesPerSecond << " MB/s, " << qSetRealNumberPrecision(0)
        << entriesPerSecond << " entries/s (median parse)\n";
    if (peakGrowth < 0) {
        out << "peak memory   unavailable (no /proc/self/status)\n";
    } else {
        out << qSetRealNumberPrecision(1) << "peak memory   " << double(peakGrowth) / 1e6
            << " MB of resident growth during the first parse = " << qSetRealNumberPrecision(2) << peakRatio
            << " x the file size (" << qSetRealNumberPrecision(1) << double(residentBefore) / 1e6
            << " MB resident before it: the file bytes and their QString; measured from the "
            << methodName(peakMethod) << ")\n";
    }
    return floorCheck < 0 ? 1 : 0;
}
