#include "GuideStrings.h"

#include <QHashFunctions>

#include <limits>
#include <stdexcept>

GuideStrings::GuideStrings()
    : m_offsets {0, 0}
{
}

namespace {

bool isWellFormed(QByteArrayView utf8)
{
    const auto *c = reinterpret_cast<const quint8 *>(utf8.data());
    const auto *end = c + utf8.size();
    while (c < end) {
        if (*c < 0x80) {
            ++c;
            continue;
        }
        // Lengths and first continuation bytes as Unicode's table of well-formed sequences allows.
        int length = 0;
        quint8 low = 0x80;
        quint8 high = 0xbf;
        if (*c >= 0xc2 && *c <= 0xdf) {
            length = 2;
        } else if (*c >= 0xe0 && *c <= 0xef) {
            length = 3;
            low = *c == 0xe0 ? 0xa0 : 0x80;
            high = *c == 0xed ? 0x9f : 0xbf;
        } else if (*c >= 0xf0 && *c <= 0xf4) {
            length = 4;
            low = *c == 0xf0 ? 0x90 : 0x80;
            high = *c == 0xf4 ? 0x8f : 0xbf;
        } else {
            return false;
        }
        if (end - c < length || c[1] < low || c[1] > high)
            return false;
        for (int i = 2; i < length; ++i) {
            if (c[i] < 0x80 || c[i] > 0xbf)
                return false;
        }
        c += length;
    }
    return true;
}

} // namespace

QByteArrayView GuideStrings::wellFormed(QByteArrayView utf8, QByteArray &scratch)
{
    if (isWellFormed(utf8))
        return utf8;
    scratch = QString::fromUtf8(utf8).toUtf8();
    return scratch;
}

quint32 GuideStrings::intern(QByteArrayView utf8)
{
    if (utf8.isEmpty())
        return 0;
    QByteArray repaired;
    utf8 = wellFormed(utf8, repaired);
    if (m_slots.empty() || qsizetype(m_offsets.size()) * 2 > qsizetype(m_slots.size()))
        grow();
    const size_t mask = m_slots.size() - 1;
    for (size_t slot = qHash(utf8) & mask;; slot = (slot + 1) & mask) {
        const quint32 entry = m_slots[slot];
        if (entry == 0) {
            if (qint64(m_bytes.size()) + utf8.size() > qint64(std::numeric_limits<quint32>::max()))
                throw std::length_error("guide texts past 4 GB");
            const auto id = quint32(m_offsets.size() - 1);
            m_bytes.append(utf8.data(), utf8.size());
            m_offsets.push_back(quint32(m_bytes.size()));
            m_slots[slot] = id + 1;
            return id;
        }
        if (bytes(entry - 1) == utf8)
            return entry - 1;
    }
}

void GuideStrings::grow()
{
    size_t capacity = m_slots.empty() ? 1024 : m_slots.size() * 2;
    while (capacity < m_offsets.size() * 2)
        capacity *= 2;
    m_slots.assign(capacity, 0);
    const size_t mask = capacity - 1;
    for (quint32 id = 1; id + 1 < m_offsets.size(); ++id) {
        size_t slot = qHash(bytes(id)) & mask;
        while (m_slots[slot] != 0)
            slot = (slot + 1) & mask;
        m_slots[slot] = id + 1;
    }
}

void GuideStrings::squeeze()
{
    std::vector<quint32>().swap(m_slots);
    m_bytes.squeeze();
    m_offsets.shrink_to_fit();
}

qsizetype GuideStrings::byteSize() const
{
    return m_bytes.capacity() + qsizetype((m_offsets.capacity() + m_slots.capacity()) * sizeof(quint32));
}

bool GuideStrings::assign(QByteArray buffer, std::vector<quint32> offsets)
{
    bool valid = offsets.size() >= 2 && offsets[0] == 0 && offsets[1] == 0 && offsets.back() == quint32(buffer.size());
    for (size_t i = 1; valid && i < offsets.size(); ++i)
        valid = offsets[i - 1] <= offsets[i];
    // Every text but the empty one is stored once and is not empty.
    for (size_t i = 2; valid && i < offsets.size(); ++i)
        valid = offsets[i - 1] < offsets[i];
    if (!valid) {
        *this = GuideStrings();
        return false;
    }
    m_bytes = std::move(buffer);
    m_offsets = std::move(offsets);
    std::vector<quint32>().swap(m_slots);
    return true;
}
