// quenvo-playlistgen: writes a large, realistic M3U playlist for the benchmarks.
//   quenvo-playlistgen --entries 100000 --seed 1 --out build/bench-data/100k.m3u

#include "PlaylistGenerator.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QSaveFile>
#include <QTextStream>

using namespace Qt::StringLiterals;

namespace {
// The download cap of the playlist client: a benchmark file past it could never reach the parser.
constexpr qint64 downloadCap = 25 * 1024 * 1024;
} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QTextStream out(stdout);
    QTextStream err(stderr);

    QCommandLineParser parser;
    parser.setApplicationDescription(u"Writes a deterministic, realistic M3U playlist."_s);
    parser.addHelpOption();
    const QCommandLineOption entriesOption(u"entries"_s, u"Number of #EXTINF entries."_s, u"count"_s);
    const QCommandLineOption seedOption(
        u"seed"_s, u"Seed: the same seed gives the same bytes."_s, u"number"_s, u"1"_s);
    const QCommandLineOption outOption(u"out"_s, u"File to write."_s, u"path"_s);
    const QCommandLineOption maxBytesOption(u"max-bytes"_s,
        u"Refuse to write a larger file (default: 25 MiB)."_s, u"bytes"_s, QString::number(downloadCap));
    parser.addOptions({entriesOption, seedOption, outOption, maxBytesOption});
    parser.process(app);

    bool entriesOK = false;
    bool seedOK = false;
    bool maxOK = false;
    const qsizetype entries = parser.value(entriesOption).toLongLong(&entriesOK);
    const quint64 seed = parser.value(seedOption).toULongLong(&seedOK);
    const qint64 maxBytes = parser.value(maxBytesOption).toLongLong(&maxOK);
    if (!entriesOK || entries <= 0 || !seedOK || !maxOK || !parser.isSet(outOption)) {
        err << "quenvo-playlistgen: --entries <positive count>, --seed <number> and --out <path> are "
               "required\n";
        return 2;
    }

    const PlaylistGenerator::Playlist playlist = PlaylistGenerator(seed).generate(entries);
    if (playlist.text.size() > maxBytes) {
        err << "quenvo-playlistgen: " << playlist.text.size() << " bytes exceed the limit of " << maxBytes
            << '\n';
        return 1;
    }

    const QString path = parser.value(outOption);
    QDir().mkpath(QFileInfo(path).absolutePath());
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(playlist.text) != playlist.text.size()
        || !file.commit()) {
        err << "quenvo-playlistgen: cannot write " << path << ": " << file.errorString() << '\n';
        return 1;
    }

    out << path << ": " << playlist.text.size() << " bytes, " << playlist.entries << " entries, "
        << playlist.expectedChannels << " distinct http(s) addresses, " << playlist.repeatedAddresses
        << " repeated, " << playlist.otherSchemes << " other schemes, " << playlist.relativeAddresses
        << " relative, " << playlist.longAddresses << " long, " << playlist.entriesWithoutAddress
        << " without address, " << playlist.crlfLines << " CRLF and " << playlist.lfLines << " LF lines\n";
    return 0;
}
