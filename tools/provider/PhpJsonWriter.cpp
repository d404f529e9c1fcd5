#include "PhpJsonWriter.h"

namespace {

void appendHex4(QByteArray &out, char16_t unit)
{
    static constexpr char digits[] = "0123456789abcdef";
    const char escape[] = {'\\', 'u', digits[(unit >> 12) & 0xF], digits[(unit >> 8) & 0xF],
        digits[(unit >> 4) & 0xF], digits[unit & 0xF]};
    out.append(escape, sizeof escape);
}

} // namespace

void PhpJsonWriter::separate()
{
    if (m_afterKey) {
        m_afterKey = false;
        return;
    }
    if (!m_first.isEmpty()) {
        if (!m_first.last())
            m_out.append(',');
        m_first.last() = false;
    }
}

void PhpJsonWriter::beginObject()
{
    separate();
    m_out.append('{');
    m_first.append(true);
}

void PhpJsonWriter::endObject()
{
    m_first.removeLast();
    m_out.append('}');
}

void PhpJsonWriter::beginArray()
{
    separate();
    m_out.append('[');
    m_first.append(true);
}

void PhpJsonWriter::endArray()
{
    m_first.removeLast();
    m_out.append(']');
}

void PhpJsonWriter::key(std::string_view name)
{
    separate();
    m_out.append('"');
    m_out.append(name.data(), qsizetype(name.size()));
    m_out.append("\":", 2);
    m_afterKey = true;
}

void PhpJsonWriter::string(QStringView text)
{
    separate();
    m_out.append('"');
    for (const QChar c : text) {
        const char16_t unit = c.unicode();
        switch (unit) {
        case u'"':
            m_out.append("\\\"", 2);
            break;
        case u'\\':
            m_out.append("\\\\", 2);
            break;
        case u'/':
            m_out.append("\\/", 2);
            break;
        case u'\n':
            m_out.append("\\n", 2);
            break;
        case u'\r':
            m_out.append("\\r", 2);
            break;
        case u'\t':
            m_out.append("\\t", 2);
            break;
        default:
            if (unit < 0x20 || unit >= 0x7F)
                appendHex4(m_out, unit);
            else
                m_out.append(char(unit));
        }
    }
    m_out.append('"');
}

void PhpJsonWriter::number(qint64 value)
{
    separate();
    m_out.append(QByteArray::number(value));
}

void PhpJsonWriter::number(double value)
{
    separate();
    m_out.append(QByteArray::number(value, 'g', 15));
}

void PhpJsonWriter::null()
{
    separate();
    m_out.append("null", 4);
}

void PhpJsonWriter::boolean(bool value)
{
    separate();
    m_out.append(value ? QByteArrayView("true") : QByteArrayView("false"));
}
