#include "M3UParser.h"
#include "records/IPTVError.h"
#include "records/PlaylistSource.h"

#include <QHash>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include <bit>
#include <limits>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

bool isLineBreak(char16_t c)
{
    // Most characters are above the controls and below the rarer breaks: two comparisons for them.
    if (c <= 0x0d)
        return c >= 0x0a;
    return c >= 0x85 && (c == 0x85 || c == 0x2028 || c == 0x2029);
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

// `text` begins with the ASCII `prefix`.
template<qsizetype N>
bool startsWithAscii(QStringView text, const char (&prefix)[N])
{
    constexpr qsizetype size = N - 1;
    if (text.size() < size)
        return false;
    const char16_t *units = text.utf16();
    for (qsizetype i = 0; i < size; ++i) {
        if (units[i] != char16_t(prefix[i]))
            return false;
    }
    return true;
}

template<qsizetype N>
bool equalsAscii(QStringView text, const char (&ascii)[N])
{
    return text.size() == N - 1 && startsWithAscii(text, ascii);
}

// Searches that look at eight UTF-16 units at a time where SSE2 is there (every x86-64 processor):
// a playlist is megabytes of text in which little happens.
#if defined(__SSE2__)
// A bit per unit (two per byte, as movemask gives them) of the units of `block` equal to `unit`.
inline unsigned equalUnits(__m128i block, char16_t unit)
{
    return unsigned(_mm_movemask_epi8(_mm_cmpeq_epi16(block, _mm_set1_epi16(short(unit)))));
}
#endif

// The first unit at or after `from` that is one of `wanted`, or -1.
template<typename... Units> qsizetype indexOfAny(QStringView text, qsizetype from, Units... wanted)
{
    const char16_t *units = text.utf16();
    const qsizetype size = text.size();
    qsizetype i = from;
#if defined(__SSE2__)
    for (; i + 8 <= size; i += 8) {
        const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i *>(units + i));
        if (const unsigned found = (equalUnits(block, wanted) | ...))
            return i + std::countr_zero(found) / 2;
    }
#endif
    for (; i < size; ++i) {
        if (((units[i] == wanted) || ...))
            return i;
    }
    return -1;
}

// Where the line starting at `from` ends: the first line break at or after it, or the end of the text.
qsizetype lineEndFrom(const char16_t *units, qsizetype from, qsizetype size)
{
    qsizetype i = from;
#if defined(__SSE2__)
    // Candidates are the units up to U+000D and from U+0084 on; the few that are not breaks (tabs,
    // letters beyond Latin-1) are told apart one by one.
    const __m128i controls = _mm_set1_epi16(0x0d);
    const __m128i beyondLatin = _mm_set1_epi16(0x84);
    const __m128i zero = _mm_setzero_si128();
    while (i + 8 <= size) {
        const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i *>(units + i));
        const __m128i low = _mm_cmpeq_epi16(_mm_subs_epu16(block, controls), zero);
        const __m128i high = _mm_cmpeq_epi16(_mm_subs_epu16(beyondLatin, block), zero);
        unsigned candidates = unsigned(_mm_movemask_epi8(_mm_or_si128(low, high)));
        while (candidates != 0) {
            const qsizetype candidate = i + std::countr_zero(candidates) / 2;
            if (isLineBreak(units[candidate]))
                return candidate;
            candidates &= candidates - 1; // the two bits of that unit
            candidates &= candidates - 1;
        }
        i += 8;
    }
#endif
    while (i < size && !isLineBreak(units[i]))
        ++i;
    return i;
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

// The code point ending just before `end` (not before `start`), and how many UTF-16 units it takes.
std::pair<char32_t, qsizetype> codePointBefore(QStringView text, qsizetype start, qsizetype end)
{
    const QChar c = text[end - 1];
    if (c.isLowSurrogate() && end - 1 > start && text[end - 2].isHighSurrogate())
        return {QChar::surrogateToUcs4(text[end - 2], c), 2};
    return {c.unicode(), 1};
}

struct Attribute
{
    QStringView key;
    QStringView value;
};

// Finds the matches of ([\w-]+)\s*=\s*"([^"]*)" from left to right, as a regular-expression engine
// would, without one. Every match holds an "=", so the search goes from one "=" to the next: the key
// is the run of key characters before it (past any spaces), which a left-to-right scan would have
// started at the same place, since neither a space, an "=" nor the quote that ends the previous match
// is a key character.
template<typename Visit>
void forEachAttribute(QStringView line, Visit visit)
{
    const qsizetype size = line.size();
    qsizetype from = 0;
    qsizetype equals = indexOfAny(line, 0, u'=');
    while (equals >= 0) {
        qsizetype keyEnd = equals;
        while (keyEnd > from && isSpace(line[keyEnd - 1].unicode()))
            --keyEnd;
        qsizetype keyStart = keyEnd;
        while (keyStart > from) {
            const auto [code, width] = codePointBefore(line, from, keyStart);
            if (!isKeyCharacter(code))
                break;
            keyStart -= width;
        }
        qsizetype next = equals + 1;
        if (keyStart < keyEnd) {
            qsizetype j = equals + 1;
            while (j < size && isSpace(line[j].unicode()))
                ++j;
            if (j < size && line[j] == u'"') {
                const qsizetype valueStart = j + 1;
                const qsizetype closing = indexOfAny(line, valueStart, u'"');
                if (closing < 0)
                    return; // no later "=" can be followed by an opening and a closing quote
                visit(Attribute{line.sliced(keyStart, keyEnd - keyStart), line.sliced(valueStart, closing - valueStart)});
                from = closing + 1;
                next = from;
            }
        }
        equals = indexOfAny(line, next, u'=');
    }
}

// Everything after the first comma outside double quotes, trimmed; empty when there is none.
QStringView titleOf(QStringView line)
{
    bool quoted = false;
    for (qsizetype i = indexOfAny(line, 0, u'"', u','); i >= 0; i = indexOfAny(line, i + 1, u'"', u',')) {
        if (line[i] == u'"')
            quoted = !quoted;
        else if (!quoted)
            return trimmedBlanks(line.sliced(i + 1));
    }
    return {};
}

// Group names repeat across thousands of entries: keep one copy of each. Keys are views into the
// playlist text, which outlives the parse. Entries of one group usually follow each other, so the
// last name is compared before the table is looked at.
class GroupNames
{
public:
    QString intern(QStringView name)
    {
        if (name.isEmpty())
            return QString();
        if (name == m_lastName)
            return m_lastGroup;
        auto it = m_names.find(name);
        if (it == m_names.end())
            it = m_names.insert(name, name.toString());
        m_lastName = name;
        m_lastGroup = *it;
        return m_lastGroup;
    }

private:
    QHash<QStringView, QString> m_names;
    QStringView m_lastName;
    QString m_lastGroup;
};

// The addresses already kept, as positions in the channel list: an open-addressing table keyed by
// the start of each address's SHA-256 (computed for its channel anyway), whose equal keys are then
// told apart by comparing the addresses themselves.
class KeptAddresses
{
public:
    explicit KeptAddresses(const QList<Channel> &channels) : m_channels(channels) {}

    // Whether `address` is among the channels' addresses; if not, the next channel (at the end of the
    // list) will hold it.
    bool contains(const QByteArray &address, const Channel::Digest &digest)
    {
        if (2 * (m_count + 1) > qsizetype(m_slots.size()))
            grow();
        const quint32 key = keyOf(digest);
        const std::size_t mask = m_slots.size() - 1;
        for (std::size_t at = key & mask;; at = (at + 1) & mask) {
            Slot &slot = m_slots[at];
            if (slot.position == empty) {
                slot = {key, quint32(m_channels.size())};
                ++m_count;
                return false;
            }
            if (slot.key == key && m_channels.at(slot.position).encodedURL() == address)
                return true;
        }
    }

private:
    struct Slot
    {
        quint32 key;
        quint32 position;
    };
    static constexpr quint32 empty = std::numeric_limits<quint32>::max();

    static quint32 keyOf(const Channel::Digest &digest)
    {
        return quint32(digest[0]) | quint32(digest[1]) << 8 | quint32(digest[2]) << 16 | quint32(digest[3]) << 24;
    }

    void grow()
    {
        std::vector<Slot> larger(std::max<std::size_t>(1024, 2 * m_slots.size()), Slot{0, empty});
        const std::size_t mask = larger.size() - 1;
        for (const Slot &slot : m_slots) {
            if (slot.position == empty)
                continue;
            std::size_t at = slot.key & mask;
            while (larger[at].position != empty)
                at = (at + 1) & mask;
            larger[at] = slot;
        }
        m_slots = std::move(larger);
    }

    const QList<Channel> &m_channels;
    std::vector<Slot> m_slots;
    qsizetype m_count = 0;
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
    if (startsWithAscii(line, "http://") || startsWithAscii(line, "https://") || isAbsoluteHttpReference(line))
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
    KeptAddresses kept(channels);
    GroupNames groups;

    QStringView pendingName;
    QStringView pendingGroup;
    QStringView pendingGuideID;
    QStringView pendingLogo;
    bool pendingCustomHeaders = false;
    bool header = true;

    const char16_t *units = text.utf16();
    const qsizetype size = text.size();
    qsizetype lineStart = 0;
    CancellationCheckpoint checkpoint(cancellation);
    while (lineStart <= size) {
        checkpoint.pass();
        const qsizetype lineEnd = lineEndFrom(units, lineStart, size);
        const QStringView line = trimmedBlanks(text.sliced(lineStart, lineEnd - lineStart));
        lineStart = lineEnd + 1;
        if (line.isEmpty())
            continue;

        if (line.front() != u'#') {
            const QByteArray absolute = acceptedAddress(line, baseURL);
            if (!absolute.isEmpty()) {
                const Channel::Digest digest = Channel::digestOf(absolute);
                if (!kept.contains(absolute, digest)) {
                    QString name = pendingName.isEmpty() ? u"Canal %1"_s.arg(channels.size() + 1)
                                                         : pendingName.toString();
                    channels.append(Channel(std::move(name), groups.intern(pendingGroup), absolute, digest,
                                            pendingCustomHeaders));
                    if (extras)
                        extras->append(pendingGuideID, pendingLogo);
                }
            }
            pendingName = {};
            pendingGroup = {};
            pendingGuideID = {};
            pendingLogo = {};
            pendingCustomHeaders = false;
        } else if (header && startsWithAscii(line, "#EXTM3U")) {
            header = false;
            if (extras) {
                forEachAttribute(line, [&](const Attribute &attribute) {
                    if (equalsAscii(attribute.key, "url-tvg") || equalsAscii(attribute.key, "x-tvg-url"))
                        extras->addGuideAddresses(attribute.value);
                });
            }
        } else if (startsWithAscii(line, "#EXTINF:")) {
            pendingCustomHeaders = false;
            pendingGroup = {};
            pendingGuideID = {};
            pendingLogo = {};
            pendingName = titleOf(line);
            forEachAttribute(line, [&](const Attribute &attribute) {
                if (equalsAscii(attribute.key, "group-title"))
                    pendingGroup = attribute.value;
                else if (equalsAscii(attribute.key, "tvg-name") && pendingName.isEmpty())
                    pendingName = attribute.value;
                else if (equalsAscii(attribute.key, "tvg-id"))
                    pendingGuideID = attribute.value;
                else if (equalsAscii(attribute.key, "tvg-logo"))
                    pendingLogo = attribute.value;
            });
        } else if (startsWithAscii(line, "#EXT-X-")) {
            return {Channel(u"Emissió HLS"_s, u"Directe"_s, baseAddress, false)};
        } else if (startsWithAscii(line, "#EXTGRP:")) {
            pendingGroup = trimmedBlanks(line.sliced(8));
        } else if (startsWithAscii(line, "#EXTVLCOPT:http-user-agent=")
                   || startsWithAscii(line, "#EXTVLCOPT:http-referrer=")) {
            pendingCustomHeaders = true;
        }
        // Any other line beginning with "#" leaves the pending entry as it is.
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
