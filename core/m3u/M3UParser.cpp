#include "M3UParser.h"
#include "records/IPTVError.h"
#include "records/PlaylistSource.h"

#include <QHash>
#include <QSet>

using namespace Qt::StringLiterals;

namespace {

bool isLineBreak(char16_t c)
{
    return (c >= 0x0a && c <= 0x0d) || c == 0x85 || c == 0x2028 || c == 0x2029;
}

// Blanks in the sense of the line trimming: tabs and space separators, never line breaks.
bool isBlank(char16_t c)
{
    if (c == u' ' || c == u'\t')
        return true;
    return c >= 0x80 && QChar::category(char32_t(c)) == QChar::Separator_Space;
}

QStringView trimmedBlanks(QStringView line)
{
    qsizetype begin = 0;
    qsizetype end = line.size();
    while (begin < end && isBlank(line[begin].unicode()))
        ++begin;
    while (end > begin && isBlank(line[end - 1].unicode()))
        --end;
    return line.sliced(begin, end - begin);
}

// A character of the attribute key class [\w-]: letters, marks, digits, connector punctuation
// (the underscore among them) and the hyphen.
bool isKeyCharacter(char32_t c)
{
    if (c < 0x80)
        return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') || c == u'_'
            || c == u'-';
    switch (QChar::category(c)) {
    case QChar::Letter_Uppercase:
    case QChar::Letter_Lowercase:
    case QChar::Letter_Titlecase:
    case QChar::Letter_Modifier:
    case QChar::Letter_Other:
    case QChar::Mark_NonSpacing:
    case QChar::Mark_SpacingCombining:
    case QChar::Mark_Enclosing:
    case QChar::Number_DecimalDigit:
    case QChar::Punctuation_Connector:
        return true;
    default:
        return c == 0x200c || c == 0x200d; // joiners
    }
}

bool isSpace(char16_t c)
{
    return c == u' ' || (c >= 0x09 && c <= 0x0d) || (c >= 0x80 && QChar::isSpace(char32_t(c)));
}

// The code point starting at `i`, and how many UTF-16 units it takes.
std::pair<char32_t, qsizetype> codePointAt(QStringView text, qsizetype i)
{
    const QChar c = text[i];
    if (c.isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate())
        return {QChar::surrogateToUcs4(c, text[i + 1]), 2};
    return {c.unicode(), 1};
}

struct Attribute
{
    QStringView key;
    QStringView value;
};

// Finds the matches of ([\w-]+)\s*=\s*"([^"]*)" from left to right, as a regular-expression engine
// would, without one: a key is a maximal run of key characters (a shorter run could only be
// followed by another key character, so a failed run is skipped whole).
template<typename Visit>
void forEachAttribute(QStringView line, Visit visit)
{
    const qsizetype size = line.size();
    qsizetype i = 0;
    while (i < size) {
        qsizetype keyEnd = i;
        while (keyEnd < size) {
            const auto [code, width] = codePointAt(line, keyEnd);
            if (!isKeyCharacter(code))
                break;
            keyEnd += width;
        }
        if (keyEnd == i) {
            i += codePointAt(line, i).second;
            continue;
        }
        qsizetype j = keyEnd;
        while (j < size && isSpace(line[j].unicode()))
            ++j;
        if (j < size && line[j] == u'=') {
            ++j;
            while (j < size && isSpace(line[j].unicode()))
                ++j;
            if (j < size && line[j] == u'"') {
                const qsizetype valueStart = j + 1;
                const qsizetype closing = line.indexOf(u'"', valueStart);
                if (closing >= 0) {
                    visit(Attribute{line.sliced(i, keyEnd - i), line.sliced(valueStart, closing - valueStart)});
                    i = closing + 1;
                    continue;
                }
            }
        }
        i = keyEnd;
    }
}

// Everything after the first comma outside double quotes, trimmed; empty when there is none.
QStringView titleOf(QStringView line)
{
    bool quoted = false;
    for (qsizetype i = 0; i < line.size(); ++i) {
        const QChar c = line[i];
        if (c == u'"')
            quoted = !quoted;
        else if (c == u',' && !quoted)
            return trimmedBlanks(line.sliced(i + 1));
    }
    return {};
}

// Group names repeat across thousands of entries: keep one copy of each. Keys are views into the
// playlist text, which outlives the parse.
class GroupNames
{
public:
    QString intern(QStringView name)
    {
        if (name.isEmpty())
            return QString();
        auto it = m_names.find(name);
        if (it == m_names.end())
            it = m_names.insert(name, name.toString());
        return *it;
    }

private:
    QHash<QStringView, QString> m_names;
};

bool isAbsoluteHttpReference(QStringView line)
{
    return line.startsWith(u"http://", Qt::CaseInsensitive) || line.startsWith(u"https://", Qt::CaseInsensitive);
}

// An absolute http(s) address is read as the program reads every address, tolerating characters
// that must be percent-encoded. A relative reference must be valid as written before it is resolved
// against the list's address: decorations and notes that some lists put where an address belongs
// ("[NO PUBLIC STREAM]") are not addresses, and encoding them would only make unplayable channels.
// The encoded absolute address of a line, or an empty array when it is not a usable address.
QByteArray acceptedAddress(QStringView line, const QUrl &baseURL)
{
    if (isAbsoluteHttpReference(line))
        return PlaylistSource::acceptedEncodedURL(line);
    const QUrl reference(line.toString(), QUrl::StrictMode);
    if (!reference.isValid())
        return QByteArray();
    const QUrl resolved = baseURL.resolved(reference);
    return PlaylistSource::isAcceptedHttpURL(resolved) ? resolved.toEncoded() : QByteArray();
}

QList<Channel> parseAgainst(QStringView input, const QUrl &baseURL, const QByteArray &baseAddress,
                            const CancellationFlag &cancellation, ChannelExtras *extras = nullptr)
{
    // Byte-order marks can stand anywhere (concatenated files); they are dropped before anything else.
    QString withoutMarks;
    QStringView text = input;
    if (input.contains(QChar(0xfeff))) {
        withoutMarks = input.toString();
        withoutMarks.remove(QChar(0xfeff));
        text = withoutMarks;
    }
    text = text.trimmed();
    if (!text.startsWith(u"#EXTM3U"))
        throw IPTVError(u"La resposta no és una llista M3U vàlida."_s);

    QList<Channel> channels;
    QSet<QByteArray> emitted;
    GroupNames groups;

    QStringView pendingName;
    QStringView pendingGroup;
    QStringView pendingGuideID;
    QStringView pendingLogo;
    bool pendingCustomHeaders = false;
    bool header = true;

    const qsizetype size = text.size();
    qsizetype lineStart = 0;
    CancellationCheckpoint checkpoint(cancellation);
    while (lineStart <= size) {
        checkpoint.pass();
        qsizetype lineEnd = lineStart;
        while (lineEnd < size && !isLineBreak(text[lineEnd].unicode()))
            ++lineEnd;
        const QStringView line = trimmedBlanks(text.sliced(lineStart, lineEnd - lineStart));
        lineStart = lineEnd + 1;

        if (header && line.startsWith(u"#EXTM3U")) {
            header = false;
            if (extras) {
                forEachAttribute(line, [&](const Attribute &attribute) {
                    if (attribute.key == u"url-tvg" || attribute.key == u"x-tvg-url")
                        extras->addGuideAddresses(attribute.value);
                });
            }
        } else if (line.startsWith(u"#EXTINF:")) {
            pendingCustomHeaders = false;
            pendingGroup = {};
            pendingGuideID = {};
            pendingLogo = {};
            pendingName = titleOf(line);
            forEachAttribute(line, [&](const Attribute &attribute) {
                if (attribute.key == u"group-title")
                    pendingGroup = attribute.value;
                else if (attribute.key == u"tvg-name" && pendingName.isEmpty())
                    pendingName = attribute.value;
                else if (attribute.key == u"tvg-id")
                    pendingGuideID = attribute.value;
                else if (attribute.key == u"tvg-logo")
                    pendingLogo = attribute.value;
            });
        } else if (line.startsWith(u"#EXT-X-")) {
            return {Channel(u"Emissió HLS"_s, u"Directe"_s, baseAddress, false)};
        } else if (line.startsWith(u"#EXTGRP:")) {
            pendingGroup = trimmedBlanks(line.sliced(8));
        } else if (line.startsWith(u"#EXTVLCOPT:http-user-agent=") || line.startsWith(u"#EXTVLCOPT:http-referrer=")) {
            pendingCustomHeaders = true;
        } else if (line.isEmpty() || line.startsWith(u'#')) {
            continue;
        } else {
            const QByteArray absolute = acceptedAddress(line, baseURL);
            if (!absolute.isEmpty() && !emitted.contains(absolute)) {
                emitted.insert(absolute); // shares the bytes with the channel
                QString name = pendingName.isEmpty() ? u"Canal %1"_s.arg(channels.size() + 1)
                                                     : pendingName.toString();
                channels.append(Channel(std::move(name), groups.intern(pendingGroup), absolute,
                                        pendingCustomHeaders));
                if (extras)
                    extras->append(pendingGuideID, pendingLogo);
            }
            pendingName = {};
            pendingGroup = {};
            pendingGuideID = {};
            pendingLogo = {};
            pendingCustomHeaders = false;
        }
    }

    if (channels.isEmpty())
        throw IPTVError(u"No s’han trobat canals HTTP o HTTPS a la llista."_s);
    return channels;
}

} // namespace

namespace M3UParser {

QList<Channel> parse(QStringView text, const QUrl &baseURL, const CancellationFlag &cancellation)
{
    return parseAgainst(text, baseURL, baseURL.toEncoded(), cancellation);
}

QList<Channel> parse(QStringView text, const QByteArray &baseAddress, const CancellationFlag &cancellation)
{
    return parseAgainst(text, QUrl::fromEncoded(baseAddress), baseAddress, cancellation);
}

ChannelListing parseListing(QStringView text, const QByteArray &baseAddress, const CancellationFlag &cancellation)
{
    ChannelListing listing;
    listing.channels = parseAgainst(text, QUrl::fromEncoded(baseAddress), baseAddress, cancellation, &listing.extras);
    // An HLS stream is one channel of its own, with nothing said about it.
    if (listing.extras.size() != listing.channels.size()) {
        listing.extras = ChannelExtras();
        for (qsizetype i = 0; i < listing.channels.size(); ++i)
            listing.extras.append({}, {});
    }
    listing.extras.squeeze();
    return listing;
}

} // namespace M3UParser
