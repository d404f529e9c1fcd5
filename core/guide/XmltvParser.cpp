#include "XmltvParser.h"
#include "GzipInflater.h"
#include "XmltvTime.h"
#include "records/IPTVError.h"

#include <QLocale>

#include <cstring>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype needMore = -1;
constexpr qsizetype malformed = -2;

bool isSpace(char c)
{
    return c == ' ' || c == '\n' || c == '\r' || c == '\t';
}

bool endsName(char c)
{
    return isSpace(c) || c == '>' || c == '/';
}

const char *find(const char *from, const char *end, char c)
{
    return static_cast<const char *>(std::memchr(from, c, size_t(end - from)));
}

// Where `needle` starts in data[from, n), or needMore.
qsizetype findText(QByteArrayView data, qsizetype from, QByteArrayView needle)
{
    const qsizetype at = data.indexOf(needle, from);
    return at < 0 ? needMore : at;
}

bool startsAt(QByteArrayView data, qsizetype at, QByteArrayView text)
{
    return data.size() - at >= text.size() && std::memcmp(data.data() + at, text.data(), size_t(text.size())) == 0;
}

// `data[at..]` could still become `text` with more bytes.
bool couldBecome(QByteArrayView data, qsizetype at, QByteArrayView text)
{
    const qsizetype have = data.size() - at;
    return have < text.size() && std::memcmp(data.data() + at, text.data(), size_t(have)) == 0;
}

// The '>' closing the tag that starts at `at` (a '<'), quotes respected; needMore, or malformed for
// a '<' inside the tag.
qsizetype tagEnd(QByteArrayView data, qsizetype at)
{
    const char *d = data.data();
    const qsizetype n = data.size();
    for (qsizetype i = at + 1; i < n; ++i) {
        const char c = d[i];
        if (c == '>')
            return i;
        if (c == '"' || c == '\'') {
            const char *quote = find(d + i + 1, d + n, c);
            if (!quote)
                return needMore;
            i = quote - d;
        } else if (c == '<') {
            return malformed;
        }
    }
    return needMore;
}

// The end ('>') of a DOCTYPE declaration starting at `at`, past its internal subset.
qsizetype doctypeEnd(QByteArrayView data, qsizetype at)
{
    bool inSubset = false;
    for (qsizetype i = at + 2; i < data.size(); ++i) {
        const char c = data[i];
        if (c == '"' || c == '\'') {
            const qsizetype quote = data.indexOf(c, i + 1);
            if (quote < 0)
                return needMore;
            i = quote;
        } else if (c == '[') {
            inSubset = true;
        } else if (c == ']') {
            inSubset = false;
        } else if (c == '>' && !inSubset) {
            return i;
        }
    }
    return needMore;
}

// The element name of the tag whose '<' is at `at` (and, for an end tag, after "</").
QByteArrayView tagName(QByteArrayView data, qsizetype at)
{
    qsizetype end = at;
    while (end < data.size() && !endsName(data[end]))
        ++end;
    return data.sliced(at, end - at);
}

// The start of "</name" (followed by a blank or '>') at or after `from`; needMore when not there yet.
qsizetype closingTag(QByteArrayView data, qsizetype from, QByteArrayView name)
{
    const char *d = data.data();
    const qsizetype n = data.size();
    for (qsizetype i = from;;) {
        const char *lt = find(d + i, d + n, '<');
        if (!lt)
            return needMore;
        i = lt - d;
        if (n - i < name.size() + 3)
            return needMore;
        if (d[i + 1] == '/' && std::memcmp(d + i + 2, name.data(), size_t(name.size())) == 0
            && endsName(d[i + 2 + name.size()]))
            return i;
        ++i;
    }
}

// Calls `attribute(name, value)` for each attribute of a start tag (its text after the name).
template<typename Attribute>
void readAttributes(QByteArrayView tag, Attribute attribute)
{
    const char *d = tag.data();
    const qsizetype n = tag.size();
    qsizetype i = 0;
    while (i < n) {
        while (i < n && (isSpace(d[i]) || d[i] == '/'))
            ++i;
        const qsizetype nameStart = i;
        while (i < n && d[i] != '=' && !isSpace(d[i]))
            ++i;
        const QByteArrayView name = tag.sliced(nameStart, i - nameStart);
        while (i < n && isSpace(d[i]))
            ++i;
        if (i >= n || d[i] != '=')
            return;
        ++i;
        while (i < n && isSpace(d[i]))
            ++i;
        if (i >= n || (d[i] != '"' && d[i] != '\''))
            return;
        const char *quote = find(d + i + 1, d + n, d[i]);
        if (!quote)
            return;
        attribute(name, tag.sliced(i + 1, quote - d - i - 1));
        i = quote - d + 1;
    }
}

void appendUtf8(QByteArray &out, char32_t code)
{
    if (code < 0x80) {
        out.append(char(code));
    } else if (code < 0x800) {
        out.append(char(0xc0 | (code >> 6)));
        out.append(char(0x80 | (code & 0x3f)));
    } else if (code < 0x10000) {
        out.append(char(0xe0 | (code >> 12)));
        out.append(char(0x80 | ((code >> 6) & 0x3f)));
        out.append(char(0x80 | (code & 0x3f)));
    } else {
        out.append(char(0xf0 | (code >> 18)));
        out.append(char(0x80 | ((code >> 12) & 0x3f)));
        out.append(char(0x80 | ((code >> 6) & 0x3f)));
        out.append(char(0x80 | (code & 0x3f)));
    }
}

// The character an entity reference stands for ("amp", "#233", "#xE9"), or nothing for one this
// reader does not know (declared by the document, or not a character).
std::optional<char32_t> entityCharacter(QByteArrayView name)
{
    if (name == "lt")
        return U'<';
    if (name == "gt")
        return U'>';
    if (name == "amp")
        return U'&';
    if (name == "quot")
        return U'"';
    if (name == "apos")
        return U'\'';
    if (name.size() < 2 || name[0] != '#')
        return std::nullopt;
    const bool hex = name[1] == 'x';
    const QByteArrayView number = name.sliced(hex ? 2 : 1);
    if (number.isEmpty() || number.size() > 8)
        return std::nullopt;
    char32_t code = 0;
    for (const char c : number) {
        int digit = -1;
        if (c >= '0' && c <= '9')
            digit = c - '0';
        else if (hex && c >= 'a' && c <= 'f')
            digit = c - 'a' + 10;
        else if (hex && c >= 'A' && c <= 'F')
            digit = c - 'A' + 10;
        if (digit < 0)
            return std::nullopt;
        code = code * (hex ? 16 : 10) + char32_t(digit);
    }
    if (code == 0 || code > 0x10ffff || (code >= 0xd800 && code <= 0xdfff))
        return std::nullopt;
    return code;
}

QByteArrayView trimmed(const QByteArray &text)
{
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && isSpace(text[begin]))
        ++begin;
    while (end > begin && isSpace(text[end - 1]))
        --end;
    return QByteArrayView(text).sliced(begin, end - begin);
}

const QByteArrayView programmeFields[] = {"title", "sub-title", "desc", "category"};
const QByteArrayView channelFields[] = {"display-name"};

} // namespace

XmltvParser::XmltvParser()
    : XmltvParser(Options())
{
}

XmltvParser::XmltvParser(Options options)
    : m_options(options)
    , m_builder(options.window)
{
}

XmltvParser::~XmltvParser() = default;

QString XmltvParser::invalidMessage()
{
    return u"La guia de programació no és vàlida."_s;
}

QString XmltvParser::sizeLimitMessage(qint64 maximumBytes)
{
    const QString megabytes = QLocale::c().toString(double(maximumBytes) / (1024.0 * 1024.0), 'g', 6);
    return u"La guia de programació supera el límit de %1 MB."_s.arg(megabytes);
}

GuideData XmltvParser::parse(QByteArrayView bytes)
{
    return parse(bytes, Options());
}

GuideData XmltvParser::parse(QByteArrayView bytes, Options options)
{
    XmltvParser parser(options);
    parser.feed(bytes);
    return parser.finish();
}

void XmltvParser::feed(QByteArrayView bytes)
{
    if (bytes.isEmpty())
        return;
    if (!m_formatKnown) {
        if (m_head.isEmpty() && bytes.size() == 1) {
            m_head = bytes.toByteArray();
            return;
        }
        QByteArray start;
        if (!m_head.isEmpty()) {
            start = m_head + bytes.toByteArray();
            bytes = start;
        }
        m_head.clear();
        m_formatKnown = true;
        m_summary.compressed = GzipInflater::hasMagic(bytes);
        if (m_summary.compressed)
            m_inflater = std::make_unique<GzipInflater>();
        if (!start.isEmpty()) {
            feed(start);
            return;
        }
    }
    if (m_inflater)
        m_inflater->inflate(bytes, [this](QByteArrayView xml) { scan(xml); });
    else
        scan(bytes);
}

void XmltvParser::scan(QByteArrayView xml)
{
    m_summary.xmlBytes += xml.size();
    if (m_summary.xmlBytes > m_options.maximumBytes)
        throw IPTVError(sizeLimitMessage(m_options.maximumBytes));
    if (m_state != State::prologue && m_state != State::document)
        return;
    if (m_pending.isEmpty()) {
        const qsizetype used = process(xml);
        m_pending = xml.sliced(used).toByteArray();
    } else {
        m_pending.append(xml.data(), xml.size());
        // An element still incomplete is read again from its start: wait until what waits has doubled,
        // so that a huge element arriving in small pieces costs a few readings, not one per piece.
        if (m_pending.size() < m_rescanAt)
            return;
        const qsizetype used = process(m_pending);
        m_pending.remove(0, used);
    }
    m_rescanAt = 2 * m_pending.size();
}

GuideData XmltvParser::finish()
{
    if (!m_formatKnown && !m_head.isEmpty()) {
        m_formatKnown = true;
        const QByteArray head = std::exchange(m_head, {});
        scan(head);
    }
    if (!m_pending.isEmpty() && (m_state == State::prologue || m_state == State::document))
        process(m_pending);
    if (m_state == State::ended)
        m_summary.complete = m_inflater == nullptr || !m_inflater->isDamaged();
    const bool usable = m_state == State::ended || (m_state != State::notAGuide && m_summary.programmes > 0);
    m_pending = {};
    if (!usable)
        throw IPTVError(invalidMessage());
    return m_builder.build();
}

qsizetype XmltvParser::process(QByteArrayView data)
{
    const char *d = data.data();
    const qsizetype n = data.size();
    qsizetype p = 0;
    while (m_state == State::document) {
        const char *lt = find(d + p, d + n, '<');
        if (!lt)
            return n; // text between elements says nothing
        p = lt - d;
        if (n - p < 2)
            return p;
        const char kind = d[p + 1];
        if (kind == '!') {
            qsizetype end = needMore;
            qsizetype length = 0;
            if (startsAt(data, p, "<!--")) {
                end = findText(data, p + 4, "-->");
                length = 3;
            } else if (startsAt(data, p, "<![CDATA[")) {
                end = findText(data, p + 9, "]]>");
                length = 3;
            } else if (!couldBecome(data, p, "<!--") && !couldBecome(data, p, "<![CDATA[")) {
                m_state = State::broken;
                return p;
            }
            if (end == needMore)
                return p;
            p = end + length;
        } else if (kind == '?') {
            const qsizetype end = findText(data, p + 2, "?>");
            if (end == needMore)
                return p;
            p = end + 2;
        } else if (kind == '/') {
            const char *gt = find(d + p, d + n, '>');
            if (!gt)
                return p;
            p = gt - d + 1;
            if (--m_depth == 0)
                m_state = State::ended;
        } else {
            const qsizetype end = tagEnd(data, p);
            if (end == needMore)
                return p;
            if (end == malformed) {
                m_state = State::broken;
                return p;
            }
            const bool selfClosing = d[end - 1] == '/';
            const QByteArrayView name = tagName(data, p + 1);
            const bool programme = name == "programme";
            if (m_depth == 1 && (programme || name == "channel")) {
                qsizetype contentEnd = end + 1;
                qsizetype after = end + 1;
                if (!selfClosing) {
                    contentEnd = closingTag(data, end + 1, name);
                    if (contentEnd == needMore)
                        return p;
                    const char *gt = find(d + contentEnd, d + n, '>');
                    if (!gt)
                        return p;
                    after = gt - d + 1;
                }
                const QByteArrayView tag = data.sliced(p + 1 + name.size(), end - p - 1 - name.size());
                const QByteArrayView content = data.sliced(end + 1, contentEnd - end - 1);
                if (programme)
                    readProgramme(tag, content, selfClosing);
                else
                    readChannel(tag, content);
                if (m_state != State::document)
                    return p;
                p = after;
            } else {
                if (!selfClosing)
                    ++m_depth;
                p = end + 1;
            }
        }
    }
    if (m_state == State::prologue)
        return processPrologue(data, p);
    return p;
}

qsizetype XmltvParser::processPrologue(QByteArrayView data, qsizetype p)
{
    const qsizetype n = data.size();
    while (m_state == State::prologue) {
        if (p == 0 && m_summary.xmlBytes == n && startsAt(data, 0, "\xef\xbb\xbf"))
            p = 3;
        while (p < n && isSpace(data[p]))
            ++p;
        if (p == n || (p == 0 && m_summary.xmlBytes == n && couldBecome(data, 0, "\xef\xbb\xbf")))
            return p;
        if (data[p] != '<') {
            m_state = State::notAGuide;
            return p;
        }
        if (n - p < 2)
            return p;
        qsizetype end = needMore;
        if (data[p + 1] == '?') {
            end = findText(data, p + 2, "?>");
            if (end == needMore)
                return p;
            if (startsAt(data, p, "<?xml") && endsName(data[p + 5]))
                readDeclaration(data.sliced(p + 5, end - p - 5));
            p = end + 2;
        } else if (data[p + 1] == '!') {
            if (startsAt(data, p, "<!--")) {
                end = findText(data, p + 4, "-->");
                if (end == needMore)
                    return p;
                p = end + 3;
            } else if (startsAt(data, p, "<!DOCTYPE")) {
                end = doctypeEnd(data, p);
                if (end == needMore)
                    return p;
                p = end + 1;
            } else if (couldBecome(data, p, "<!--") || couldBecome(data, p, "<!DOCTYPE")) {
                return p;
            } else {
                m_state = State::notAGuide;
                return p;
            }
        } else {
            end = tagEnd(data, p);
            if (end == needMore)
                return p;
            if (end == malformed || tagName(data, p + 1) != "tv") {
                m_state = State::notAGuide;
                return p;
            }
            p = end + 1;
            if (data[end - 1] == '/') {
                m_state = State::ended;
                return p;
            }
            m_state = State::document;
            m_depth = 1;
            return p + process(data.sliced(p));
        }
    }
    return p;
}

void XmltvParser::readDeclaration(QByteArrayView declaration)
{
    readAttributes(declaration, [this](QByteArrayView name, QByteArrayView value) {
        if (name != "encoding")
            return;
        const QByteArray encoding = value.toByteArray().toLower();
        if (encoding == "utf-8" || encoding == "utf8" || encoding == "us-ascii" || encoding == "ascii")
            m_encoding = Encoding::utf8;
        else if (encoding == "iso-8859-1" || encoding == "latin1" || encoding == "latin-1" || encoding == "iso8859-1")
            m_encoding = Encoding::latin1;
        else if (QStringDecoder decoder(encoding.constData(), QStringDecoder::Flag::Stateless); decoder.isValid()) {
            m_encoding = Encoding::other;
            m_decoder = std::move(decoder);
        }
        // An encoding this machine cannot decode is read as UTF-8: names stay readable where they are ASCII.
    });
}

void XmltvParser::appendRaw(QByteArray &out, const char *begin, const char *end)
{
    switch (m_encoding) {
    case Encoding::utf8:
        out.append(begin, end - begin);
        break;
    case Encoding::latin1:
        for (const char *c = begin; c < end; ++c)
            appendUtf8(out, char32_t(quint8(*c)));
        break;
    case Encoding::other:
        out.append(QString(m_decoder.decode(QByteArrayView(begin, end - begin))).toUtf8());
        break;
    }
}

void XmltvParser::appendText(QByteArray &out, const char *begin, const char *end)
{
    while (begin < end) {
        const char *amp = find(begin, end, '&');
        if (!amp) {
            appendRaw(out, begin, end);
            return;
        }
        appendRaw(out, begin, amp);
        const char *semicolon = find(amp + 1, std::min(end, amp + 12), ';');
        const std::optional<char32_t> character =
            semicolon ? entityCharacter(QByteArrayView(amp + 1, semicolon - amp - 1)) : std::nullopt;
        if (character) {
            appendUtf8(out, *character);
            begin = semicolon + 1;
        } else {
            out.append('&');
            begin = amp + 1;
        }
    }
}

template<typename Found>
bool XmltvParser::readChildren(QByteArrayView content, const QByteArrayView *names, int count, bool firstOnly,
                               Found found)
{
    const char *d = content.data();
    const qsizetype n = content.size();
    bool seen[4] = {};
    int capturing = -1;
    int depth = 0;
    qsizetype p = 0;
    while (p < n) {
        const char *lt = find(d + p, d + n, '<');
        const qsizetype textEnd = lt ? lt - d : n;
        if (capturing >= 0)
            appendText(m_texts[capturing], d + p, d + textEnd);
        if (!lt)
            break;
        p = textEnd;
        if (n - p < 2)
            return false;
        const char kind = d[p + 1];
        if (kind == '!') {
            if (startsAt(content, p, "<![CDATA[")) {
                const qsizetype end = findText(content, p + 9, "]]>");
                if (end == needMore)
                    return false;
                if (capturing >= 0)
                    appendRaw(m_texts[capturing], d + p + 9, d + end);
                p = end + 3;
            } else if (startsAt(content, p, "<!--")) {
                const qsizetype end = findText(content, p + 4, "-->");
                if (end == needMore)
                    return false;
                p = end + 3;
            } else {
                return false;
            }
        } else if (kind == '?') {
            const qsizetype end = findText(content, p + 2, "?>");
            if (end == needMore)
                return false;
            p = end + 2;
        } else if (kind == '/') {
            const char *gt = find(d + p, d + n, '>');
            if (!gt)
                return false;
            // The field ends at its own end tag, whatever it holds: guides put unclosed HTML (<img>,
            // <br>) in titles and descriptions.
            if (capturing >= 0 && tagName(content, p + 2) == names[capturing]) {
                found(capturing);
                capturing = -1;
                depth = 0;
            } else if (depth > 0) {
                --depth;
            }
            p = gt - d + 1;        } else {
            const qsizetype end = tagEnd(content, p);
            if (end < 0)
                return false;
            const bool selfClosing = d[end - 1] == '/';
            if (depth == 0) {
                const QByteArrayView name = tagName(content, p + 1);
                for (int field = 0; field < count; ++field) {
                    if (name == names[field] && !(firstOnly && seen[field])) {
                        seen[field] = true;
                        m_texts[field].clear();
                        if (selfClosing)
                            found(field);
                        else
                            capturing = field;
                        break;
                    }
                }
            }
            if (!selfClosing)
                ++depth;
            p = end + 1;
        }
    }
    if (capturing >= 0)
        found(capturing); // the element closed before its field did
    return true;
}

void XmltvParser::readChannel(QByteArrayView tag, QByteArrayView content)
{
    QByteArray id;
    readAttributes(tag, [&](QByteArrayView name, QByteArrayView value) {
        if (name == "id") {
            id.clear();
            appendText(id, value.data(), value.data() + value.size());
        }
    });
    const QByteArrayView key = trimmed(id);
    if (key.isEmpty())
        return;
    ++m_summary.channels;
    const quint32 channel = m_builder.channel(key);
    readChildren(content, channelFields, 1, false, [&](int field) {
        m_builder.addDisplayName(channel, trimmed(m_texts[field]));
    });
}

void XmltvParser::readProgramme(QByteArrayView tag, QByteArrayView content, bool selfClosing)
{
    std::optional<qint64> start;
    std::optional<qint64> stop;
    QByteArrayView channelText;
    readAttributes(tag, [&](QByteArrayView name, QByteArrayView value) {
        if (name == "start")
            start = XmltvTime::parse(value);
        else if (name == "stop")
            stop = XmltvTime::parse(value);
        else if (name == "channel")
            channelText = value;
    });
    if (!start || channelText.isEmpty())
        return;
    ++m_summary.programmes;
    if (!m_builder.wants(*start, stop))
        return;

    QByteArray decodedId;
    if (channelText.contains('&') || m_encoding != Encoding::utf8 || isSpace(channelText.front())
        || isSpace(channelText.back())) {
        appendText(decodedId, channelText.data(), channelText.data() + channelText.size());
        channelText = trimmed(decodedId);
        if (channelText.isEmpty())
            return;
    }
    for (QByteArray &text : m_texts)
        text.clear();
    if (!selfClosing)
        readChildren(content, programmeFields, 4, true, [](int) {});
    m_builder.addProgramme(m_builder.channel(channelText), *start, stop, trimmed(m_texts[0]), trimmed(m_texts[1]),
                           trimmed(m_texts[2]), trimmed(m_texts[3]));
}
