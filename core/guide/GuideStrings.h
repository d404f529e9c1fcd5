#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <vector>

// Texts of a programme guide stored once each, as UTF-8 in one buffer: the same title or description
// repeated over a week of programmes costs one copy and a 4-byte number per use. Number 0 is the
// empty text.
//
// While a guide is being built `intern` finds a text already stored through a hash table of numbers
// (so the table stays valid when the buffer grows); `squeeze` drops that table once nothing more is
// added.
class GuideStrings
{
public:
    GuideStrings();

    // Malformed UTF-8 is stored as it reads (each bad sequence a U+FFFD), so that texts that read
    // alike are one text.
    quint32 intern(QByteArrayView utf8);
    // `utf8` when it is well formed, else its well-formed reading (kept in `scratch`).
    static QByteArrayView wellFormed(QByteArrayView utf8, QByteArray &scratch);
    void squeeze();

    qsizetype size() const { return qsizetype(m_offsets.size()) - 1; }
    QByteArrayView bytes(quint32 id) const
    {
        return QByteArrayView(m_bytes.constData() + m_offsets[id], qsizetype(m_offsets[id + 1] - m_offsets[id]));
    }
    QString text(quint32 id) const { return QString::fromUtf8(bytes(id)); }
    // Memory held, in bytes.
    qsizetype byteSize() const;

    // The raw form, for the cache: the buffer and where each text starts (one more than size()).
    const QByteArray &buffer() const { return m_bytes; }
    const std::vector<quint32> &offsets() const { return m_offsets; }
    // Rebuilds from a raw form; false (and left empty) when the offsets do not describe the buffer.
    bool assign(QByteArray buffer, std::vector<quint32> offsets);

    friend bool operator==(const GuideStrings &a, const GuideStrings &b)
    {
        return a.m_bytes == b.m_bytes && a.m_offsets == b.m_offsets;
    }

private:
    void grow();

    QByteArray m_bytes;
    std::vector<quint32> m_offsets; // text i is m_bytes[m_offsets[i], m_offsets[i + 1])
    std::vector<quint32> m_slots; // open addressing: id + 1, 0 for a free slot
};
