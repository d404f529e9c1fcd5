// quenvo-recorddump: every record the M3U parser and the Xtream readers make from a set of files,
// written out field by field, so that two builds of the readers can be compared byte for byte.
//   quenvo-recorddump [--digests] [--out FILE] PATH…
//
// Each PATH is a file or a folder (walked in name order). Files ending in .m3u or .m3u8 go through
// M3UParser::parseListing; files ending in .json go through every Xtream reader (each reader that
// refuses the file writes its error instead). A live streams answer is read with the live categories
// answer beside it (the same name with "categories" for "streams"), when there is one.
//
// The full form writes one line per record; --digests writes one SHA-256 of that text per file. Texts
// are written in UTF-8 with control characters, backslashes and lone surrogates escaped, so that two
// different records never write the same line.

#include "m3u/M3UParser.h"
#include "records/CatalogDetail.h"
#include "records/IPTVError.h"
#include "records/JsonError.h"
#include "repositories/XtreamReaders.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>

#include <algorithm>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

const QByteArray playlistAddress = "http://lists.example.test/dir/playlist.m3u?list=1";

PlaylistSource xtreamSource()
{
    return PlaylistSource(QUuid(u"{5b0f3c2e-8d1a-4f6b-9c7e-2a4d6e8f0b1c}"_s), u"Prova"_s,
                          u" http://xtream.example.test:8080/// "_s, u"usuari@casa"_s, u"p&ss wörd"_s,
                          PlaylistSource::Kind::xtream);
}

CatalogItem detailItem(CatalogKind kind)
{
    CatalogItem item;
    item.id = u"42"_s;
    item.kind = kind;
    item.name = u"Títol de prova"_s;
    item.categoryID = u"7"_s;
    item.poster = QUrl(u"http://img.example.test/poster.jpg"_s);
    item.year = u"2020"_s;
    item.rating = u"7.5"_s;
    item.plot = u"Sinopsi"_s;
    item.fileExtension = u"mkv"_s;
    item.added = 1600000000;
    return item;
}

class Writer
{
public:
    Writer &text(QStringView value)
    {
        m_line += '\t';
        for (qsizetype i = 0; i < value.size(); ++i) {
            const QChar c = value[i];
            const char16_t u = c.unicode();
            const bool pairedHigh = c.isHighSurrogate() && i + 1 < value.size() && value[i + 1].isLowSurrogate();
            if (pairedHigh) {
                m_line += QStringView(value.data() + i, 2).toUtf8();
                ++i;
            } else if (u < 0x20 || u == 0x7f || u == u'\\' || c.isSurrogate()) {
                m_line += "\\u" + QByteArray::number(u, 16).rightJustified(4, '0');
            } else {
                m_line += QStringView(value.data() + i, 1).toUtf8();
            }
        }
        return *this;
    }
    Writer &bytes(const QByteArray &value)
    {
        m_line += '\t';
        for (const char c : value) {
            const auto byte = static_cast<unsigned char>(c);
            if (byte < 0x20 || byte >= 0x7f || byte == '\\')
                m_line += "\\x" + QByteArray::number(byte, 16).rightJustified(2, '0');
            else
                m_line += c;
        }
        return *this;
    }
    Writer &number(double value)
    {
        m_line += '\t' + QByteArray::number(value, 'g', 17);
        return *this;
    }
    Writer &integer(qint64 value)
    {
        m_line += '\t' + QByteArray::number(value);
        return *this;
    }
    Writer &flag(bool value)
    {
        m_line += value ? "\ttrue" : "\tfalse";
        return *this;
    }
    Writer &url(const std::optional<QUrl> &value)
    {
        if (!value)
            return bytes("(none)");
        bytes(value->toEncoded()).flag(value->isValid());
        text(value->toString()).text(value->toDisplayString());
        text(value->scheme()).text(value->userInfo()).text(value->host()).integer(value->port());
        text(value->path(QUrl::FullyEncoded)).text(value->query(QUrl::FullyEncoded)).text(value->path(QUrl::FullyDecoded));
        return text(value->fragment(QUrl::FullyEncoded));
    }
    Writer &channel(const Channel &value)
    {
        text(value.id()).text(value.name()).text(value.group()).bytes(value.encodedURL());
        flag(value.requiresCustomHeaders());
        // The address as the player and the interface read it back.
        return url(value.url());
    }
    Writer &item(const CatalogItem &value)
    {
        text(value.id).text(CatalogKinds::rawValue(value.kind)).text(value.name).text(value.categoryID);
        url(value.poster).text(value.year).text(value.rating).text(value.plot).text(value.fileExtension);
        return number(value.added);
    }

    void line(const char *kind)
    {
        m_out += kind + m_line + '\n';
        m_line.clear();
    }
    void note(const char *kind, const QString &message)
    {
        text(message);
        line(kind);
    }
    const QByteArray &output() const { return m_out; }

private:
    QByteArray m_line;
    QByteArray m_out;
};

// Runs one reader, writing its error instead of its records when it refuses the input.
template<typename Read>
void attempt(Writer &writer, const char *reader, Read read)
{
    writer.text(QString::fromLatin1(reader));
    writer.line("reader");
    try {
        read();
    } catch (const IPTVError &error) {
        writer.note("error", error.message());
    } catch (const JsonError &error) {
        writer.note("json-error", error.detail());
    }
}

void writeListing(Writer &writer, const ChannelListing &listing)
{
    for (const QString &address : listing.extras.guideAddresses())
        writer.note("guide-address", address);
    for (qsizetype i = 0; i < listing.channels.size(); ++i) {
        writer.channel(listing.channels[i]);
        if (i < listing.extras.size())
            writer.text(listing.extras.guideID(i)).text(listing.extras.logo(i));
        writer.line("channel");
    }
    writer.integer(listing.channels.size()).integer(listing.extras.size());
    writer.line("count");
}

void dumpPlaylist(Writer &writer, const QByteArray &body)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder.decode(body);
    if (decoder.hasError()) {
        writer.note("error", u"not UTF-8"_s);
        return;
    }
    attempt(writer, "parseListing", [&] { writeListing(writer, M3UParser::parseListing(text, playlistAddress)); });
    attempt(writer, "parse(QUrl)", [&] {
        const QList<Channel> channels = M3UParser::parse(text, QUrl::fromEncoded(playlistAddress));
        for (const Channel &channel : channels) {
            writer.channel(channel);
            writer.line("channel");
        }
    });
}

QString siblingCategories(const QString &path)
{
    QString sibling = path;
    sibling.replace(u"get_live_streams"_s, u"get_live_categories"_s);
    sibling.replace(u"live-streams"_s, u"live-categories"_s);
    return sibling != path && QFileInfo::exists(sibling) ? sibling : QString();
}

void writeDetail(Writer &writer, const CatalogDetail &detail)
{
    writer.item(detail.item).line("item");
    writer.text(detail.plot).text(detail.genre).text(detail.cast).text(detail.duration).url(detail.poster);
    writer.line("detail");
    if (detail.movie) {
        writer.channel(*detail.movie);
        writer.line("movie");
    }
    for (const CatalogEpisode &episode : detail.episodes) {
        writer.text(episode.id).integer(episode.season).integer(episode.number).text(episode.title);
        writer.text(episode.plot).text(episode.duration).url(episode.image).channel(episode.channel);
        writer.line("episode");
    }
    for (const qint64 season : detail.seasons())
        writer.integer(season);
    writer.line("seasons");
}

void dumpXtream(Writer &writer, const QString &path, const QByteArray &body)
{
    const PlaylistSource source = xtreamSource();
    attempt(writer, "accountStreamExtension",
            [&] { writer.note("extension", XtreamReaders::accountStreamExtension(body)); });
    attempt(writer, "liveCategories", [&] {
        const QHash<QString, QString> categories = XtreamReaders::liveCategories(body);
        QStringList ids = categories.keys();
        std::sort(ids.begin(), ids.end());
        for (const QString &id : ids) {
            writer.text(id).text(categories.value(id));
            writer.line("live-category");
        }
    });
    QHash<QString, QString> categories;
    if (const QString sibling = siblingCategories(path); !sibling.isEmpty()) {
        QFile file(sibling);
        if (file.open(QIODevice::ReadOnly)) {
            try {
                categories = XtreamReaders::liveCategories(file.readAll());
            } catch (const std::exception &) {
                writer.note("error", u"categories beside it unreadable"_s);
            }
            writer.note("categories-from", QFileInfo(sibling).fileName());
        }
    }
    for (const QString &extension : {u"m3u8"_s, u"ts"_s}) {
        attempt(writer, "liveStreams", [&] {
            ChannelListing listing;
            listing.channels = XtreamReaders::liveStreams(body, source, extension, categories, {}, &listing.extras);
            writeListing(writer, listing);
            // Without extras too: the same channels.
            const QList<Channel> alone = XtreamReaders::liveStreams(body, source, extension, categories);
            writer.flag(alone == listing.channels);
            writer.line("same-without-extras");
        });
    }
    attempt(writer, "catalogCategories", [&] {
        for (const CatalogCategory &category : XtreamReaders::catalogCategories(body)) {
            writer.text(category.id).text(category.name);
            writer.line("category");
        }
    });
    for (const CatalogKind kind : CatalogKinds::allCases) {
        attempt(writer, "catalogItems", [&] {
            for (const CatalogItem &item : XtreamReaders::catalogItems(body, kind, u"7"_s)) {
                writer.item(item);
                writer.line("item");
            }
        });
        attempt(writer, "catalogDetail",
                [&] { writeDetail(writer, XtreamReaders::catalogDetail(body, source, detailItem(kind))); });
    }
}

QStringList filesUnder(const QStringList &paths)
{
    QStringList files;
    for (const QString &path : paths) {
        if (QFileInfo(path).isDir()) {
            QStringList found;
            QDirIterator it(path, QDir::Files, QDirIterator::Subdirectories);
            while (it.hasNext())
                found.append(it.next());
            std::sort(found.begin(), found.end());
            files += found;
        } else {
            files.append(path);
        }
    }
    return files;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(u"Writes every record the M3U parser and the Xtream readers make."_s);
    parser.addHelpOption();
    const QCommandLineOption digestsOption(u"digests"_s, u"One SHA-256 per file instead of the records."_s);
    const QCommandLineOption outOption(u"out"_s, u"Write to this file instead of the standard output."_s,
                                       u"file"_s);
    parser.addOptions({digestsOption, outOption});
    parser.addPositionalArgument(u"paths"_s, u"Files or folders."_s);
    parser.process(app);

    QFile out;
    const bool toFile = parser.isSet(outOption);
    if (toFile) {
        out.setFileName(parser.value(outOption));
        if (!out.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
            std::fprintf(stderr, "quenvo-recorddump: cannot write %s\n", qPrintable(out.fileName()));
            return 1;
        }
    } else if (!out.open(stdout, QIODevice::WriteOnly)) {
        return 1;
    }

    int read = 0;
    for (const QString &path : filesUnder(parser.positionalArguments())) {
        const bool playlist = path.endsWith(u".m3u"_s) || path.endsWith(u".m3u8"_s);
        const bool answer = path.endsWith(u".json"_s);
        if (!playlist && !answer)
            continue;
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly)) {
            std::fprintf(stderr, "quenvo-recorddump: cannot read %s\n", qPrintable(path));
            return 1;
        }
        const QByteArray body = file.readAll();
        Writer writer;
        if (playlist)
            dumpPlaylist(writer, body);
        else
            dumpXtream(writer, path, body);
        ++read;
        const QByteArray name = QFileInfo(path).absoluteFilePath().toUtf8();
        if (parser.isSet(digestsOption)) {
            out.write(QCryptographicHash::hash(writer.output(), QCryptographicHash::Sha256).toHex() + "  " + name
                      + '\n');
        } else {
            out.write("file\t" + name + '\n');
            out.write(writer.output());
        }
    }
    if (read == 0) {
        std::fprintf(stderr, "quenvo-recorddump: no .m3u, .m3u8 or .json file given\n");
        return 2;
    }
    return 0;
}
