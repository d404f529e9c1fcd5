// libFuzzer target for M3UParser::parse: any bytes, decoded as UTF-8, must either be refused with an
// IPTVError or give a channel list that keeps every promise of the parser. A broken promise aborts, so
// libFuzzer keeps the input that broke it.
//
// An input whose first byte is 0x01–0x04 uses that byte to pick another base address (and is parsed
// without it); every other input, playlists taken from the wild among them, is parsed whole against an
// ordinary http base.

#include "m3u/M3UParser.h"
#include "records/IPTVError.h"
#include "records/PlaylistSource.h"

#include <QCryptographicHash>
#include <QSet>
#include <QString>
#include <QUrl>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

using namespace Qt::StringLiterals;

namespace {

const QString notAPlaylist = u"La resposta no és una llista M3U vàlida."_s;
const QString noChannels = u"No s’han trobat canals HTTP o HTTPS a la llista."_s;

[[noreturn]] void fail(const char *promise, const QString &detail = QString())
{
    std::fprintf(stderr, "M3U parser promise broken: %s %s\n", promise, qUtf8Printable(detail));
    std::abort();
}

void require(bool holds, const char *promise, const QString &detail = QString())
{
    if (!holds)
        fail(promise, detail);
}

QUrl baseFor(uint8_t selector)
{
    switch (selector) {
    case 0x01:
        return QUrl(u"https://provider.example:8443/a/b/list.m3u8?user=x&token=y"_s);
    case 0x02:
        return QUrl(u"http://[2001:db8::7]/"_s);
    case 0x03: // not http: relative entries cannot become channels
        return QUrl(u"file:///srv/lists/tv.m3u"_s);
    case 0x04: // no base at all
        return QUrl();
    default:
        return QUrl(u"http://provider.example/lists/tv.m3u"_s);
    }
}

// The Unicode mandatory line breaks: LF, VT, FF, CR, NEL, LS, PS.
bool isLineBreak(QChar c)
{
    const char16_t u = c.unicode();
    return (u >= 0x0a && u <= 0x0d) || u == 0x85 || u == 0x2028 || u == 0x2029;
}

// Blanks trimmed from each line: space, tab and the other space separators.
bool isBlank(QChar c)
{
    return c == u' ' || c == u'\t' || c.category() == QChar::Separator_Space;
}

QStringView withoutBlanks(QStringView line)
{
    while (!line.isEmpty() && isBlank(line.front()))
        line = line.sliced(1);
    while (!line.isEmpty() && isBlank(line.back()))
        line.chop(1);
    return line;
}

// What the text says about its own outcome, read independently of the parser.
struct Shape
{
    bool hasHeader = false;
    bool isHLS = false;
    qsizetype addressLines = 0; // lines that are neither blank nor tags/comments
};

Shape shapeOf(QString text)
{
    Shape shape;
    text.remove(QChar(0xfeff));
    const QString trimmed = text.trimmed();
    shape.hasHeader = trimmed.startsWith(u"#EXTM3U");
    qsizetype start = 0;
    while (start <= trimmed.size()) {
        qsizetype end = start;
        while (end < trimmed.size() && !isLineBreak(trimmed[end]))
            ++end;
        const QStringView line = withoutBlanks(QStringView(trimmed).sliced(start, end - start));
        if (line.startsWith(u"#EXT-X-"))
            shape.isHLS = true;
        else if (!line.isEmpty() && !line.startsWith(u'#'))
            ++shape.addressLines;
        start = end + 1;
    }
    return shape;
}

struct Outcome
{
    QList<Channel> channels;
    QString error;
    bool failed = false;
};

Outcome parse(const QString &text, const QUrl &base)
{
    try {
        return {M3UParser::parse(text, base), QString(), false};
    } catch (const IPTVError &error) {
        return {{}, error.message(), true};
    }
}

void checkChannels(const QList<Channel> &channels, const Shape &shape, const QUrl &base)
{
    require(!channels.isEmpty(), "the result is never empty");
    if (shape.isHLS) {
        require(channels.size() == 1, "an HLS manifest is exactly one channel");
        const Channel &stream = channels.front();
        require(stream.name() == u"Emissió HLS"_s, "the HLS channel's name", stream.name());
        require(stream.group() == u"Directe"_s, "the HLS channel's group", stream.group());
        require(stream.encodedURL() == base.toEncoded(), "the HLS channel plays the base address",
            QString::fromLatin1(stream.encodedURL()));
        require(!stream.requiresCustomHeaders(), "the HLS channel needs no custom headers");
        return;
    }
    require(channels.size() <= shape.addressLines, "at most one channel per address line");
    QSet<QByteArray> addresses;
    for (const Channel &channel : channels) {
        const QString address = QString::fromLatin1(channel.encodedURL());
        require(PlaylistSource::isAcceptedHttpURL(channel.url()), "every address is an accepted http(s) URL",
            address);
        require(!addresses.contains(channel.encodedURL()), "addresses are unique", address);
        addresses.insert(channel.encodedURL());
        const QByteArray digest = QCryptographicHash::hash(channel.encodedURL(), QCryptographicHash::Sha256);
        require(channel.id() == QString::fromLatin1(digest.toHex()), "the id is the SHA-256 of the address",
            channel.id());
        require(!channel.name().isEmpty(), "names are never empty", address);
        require(!channel.group().isEmpty(), "groups are never empty", address);
    }
}

// Line endings carry no meaning: CRLF text gives the same result as LF text.
void checkLineEndingsDoNotMatter(const QString &text, const QUrl &base, const Outcome &outcome)
{
    QString crlf = text;
    crlf.replace(u'\n', u"\r\n"_s);
    const Outcome other = parse(crlf, base);
    require(other.failed == outcome.failed && other.error == outcome.error,
        "CRLF text fails the same way as LF text", other.error);
    require(other.channels == outcome.channels, "CRLF text gives the same channels as LF text");
}

// Byte-order marks are dropped wherever they stand.
void checkMarksDoNotMatter(const QString &text, const QUrl &base, const Outcome &outcome)
{
    if (!text.contains(QChar(0xfeff)))
        return;
    QString unmarked = text;
    unmarked.remove(QChar(0xfeff));
    const Outcome other = parse(unmarked, base);
    require(other.failed == outcome.failed && other.error == outcome.error,
        "text without its marks fails the same way", other.error);
    require(other.channels == outcome.channels, "text without its marks gives the same channels");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    QUrl base = baseFor(0);
    if (size > 0 && data[0] >= 0x01 && data[0] <= 0x04) {
        base = baseFor(data[0]);
        ++data;
        --size;
    }
    const QString text = QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    const Shape shape = shapeOf(text);

    const Outcome outcome = parse(text, base);
    if (outcome.failed) {
        if (!shape.hasHeader)
            require(
                outcome.error == notAPlaylist, "a text without the header is not a playlist", outcome.error);
        else
            require(!shape.isHLS && outcome.error == noChannels,
                "a playlist only fails when it has no usable address", outcome.error);
    } else {
        require(shape.hasHeader, "only a text starting with #EXTM3U gives channels");
        checkChannels(outcome.channels, shape, base);
    }
    checkLineEndingsDoNotMatter(text, base, outcome);
    checkMarksDoNotMatter(text, base, outcome);
    return 0;
}
