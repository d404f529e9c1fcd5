#include "JsonWriter.h"

#include <QJsonDocument>

namespace {
void appendAscii(QByteArray &bytes, const char16_t *begin, const char16_t *end)
{
    const qsizetype at = bytes.size();
    bytes.resize(at + (end - begin));
    char *out = bytes.data() + at;
    for (const char16_t *c = begin; c != end; ++c)
        *out++ = char(*c);
}
} // namespace

void JsonWriter::key(QLatin1StringView name)
{
    separate();
    m_bytes.append('"').append(name.data(), name.size()).append("\":", 2);
    m_first = true; // the value follows without a comma
}

void JsonWriter::string(QStringView text)
{
    separate();
    m_bytes.append('"');
    static constexpr char hex[] = "0123456789abcdef";
    const char16_t *run = text.utf16();
    const char16_t *const end = run + text.size();
    // Plain ASCII runs are copied as they are; everything else is escaped or converted to UTF-8.
    for (const char16_t *c = run; c != end; ++c) {
        const char16_t unit = *c;
        if (unit >= 0x20 && unit < 0x80 && unit != u'"' && unit != u'\\')
            continue;
        appendAscii(m_bytes, run, c);
        run = c + 1;
        if (unit >= 0x80) {
            const char16_t *last = c + 1;
            while (last != end && *last >= 0x80)
                ++last;
            m_bytes.append(QStringView(c, last).toUtf8());
            c = last - 1;
            run = last;
            continue;
        }
        m_bytes.append('\\');
        switch (unit) {
        case u'"': m_bytes.append('"'); break;
        case u'\\': m_bytes.append('\\'); break;
        case u'\b': m_bytes.append('b'); break;
        case u'\f': m_bytes.append('f'); break;
        case u'\n': m_bytes.append('n'); break;
        case u'\r': m_bytes.append('r'); break;
        case u'\t': m_bytes.append('t'); break;
        default:
            m_bytes.append("u00", 3).append(hex[unit >> 4]).append(hex[unit & 0xf]);
        }
    }
    appendAscii(m_bytes, run, end);
    m_bytes.append('"');
}

void JsonWriter::uuid(const QUuid &uuid)
{
    separate();
    const QByteArray text = uuid.toByteArray(QUuid::WithoutBraces).toUpper();
    m_bytes.append('"').append(text).append('"');
}

QJsonObject JsonWriter::object() const
{
    return QJsonDocument::fromJson(m_bytes).object();
}
