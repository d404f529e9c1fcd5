#include "GuideData.h"
#include "GuideBuilder.h"

#include <QDataStream>
#include <QIODevice>

#include <algorithm>

namespace {

// The programmes of a channel that overlap each other are few: looking this far back finds what
// an earlier, longer programme still shows.
constexpr size_t overlapReach = 8;

constexpr quint32 formatVersion = 1;

template<typename T>
void writeColumn(QDataStream &stream, const std::vector<T> &column)
{
    stream << quint64(column.size());
    for (const T value : column)
        stream << value;
}

// False when the count cannot be true (more values than bytes left) or the stream fails.
template<typename T>
bool readColumn(QDataStream &stream, std::vector<T> &column, qint64 bytesLeft)
{
    quint64 count = 0;
    stream >> count;
    if (stream.status() != QDataStream::Ok || count > quint64(bytesLeft) / sizeof(T))
        return false;
    column.resize(size_t(count));
    for (T &value : column)
        stream >> value;
    return stream.status() == QDataStream::Ok;
}

} // namespace

GuideProgramme GuideData::at(size_t p) const
{
    return GuideProgramme {m_starts[p], m_stops[p], m_strings.text(m_titles[p]), m_strings.text(m_subTitles[p]),
                           m_strings.text(m_descriptions[p]), m_strings.text(m_categories[p])};
}

GuideProgramme GuideData::programme(qsizetype channel, qsizetype index) const
{
    return at(m_first[channel] + size_t(index));
}

size_t GuideData::firstStartingAfter(qsizetype channel, qint64 time) const
{
    const auto begin = m_starts.begin() + m_first[channel];
    const auto end = m_starts.begin() + m_first[channel + 1];
    return size_t(std::upper_bound(begin, end, time) - m_starts.begin());
}

std::optional<GuideProgramme> GuideData::now(qsizetype channel, qint64 time) const
{
    const size_t first = m_first[channel];
    const size_t after = firstStartingAfter(channel, time);
    for (size_t p = after; p > first && after - p < overlapReach; --p) {
        if (m_stops[p - 1] > time)
            return at(p - 1);
    }
    return std::nullopt;
}

std::optional<GuideProgramme> GuideData::next(qsizetype channel, qint64 time) const
{
    const size_t p = firstStartingAfter(channel, time);
    if (p == m_first[channel + 1])
        return std::nullopt;
    return at(p);
}

QList<GuideProgramme> GuideData::schedule(qsizetype channel, qint64 from, qint64 to) const
{
    QList<GuideProgramme> programmes;
    if (from >= to)
        return programmes;
    const size_t first = m_first[channel];
    const size_t end = m_first[channel + 1];
    // Programmes starting before `from` count when they are still on at `from`.
    size_t p = from == std::numeric_limits<qint64>::min() ? first : firstStartingAfter(channel, from - 1);
    size_t earliest = p;
    for (size_t back = p; back > first && p - back < overlapReach; --back) {
        if (m_stops[back - 1] > from)
            earliest = back - 1;
    }
    for (size_t k = earliest; k < p; ++k) {
        if (m_stops[k] > from)
            programmes.append(at(k));
    }
    for (; p < end && m_starts[p] < to; ++p)
        programmes.append(at(p));
    return programmes;
}

qsizetype GuideData::byteSize() const
{
    qsizetype size = sizeof(GuideData) + m_strings.byteSize();
    size += qsizetype(m_first.capacity() * sizeof(quint32));
    size += qsizetype((m_starts.capacity() + m_stops.capacity()) * sizeof(qint64));
    size += qsizetype((m_titles.capacity() + m_subTitles.capacity() + m_descriptions.capacity()
                       + m_categories.capacity()) * sizeof(quint32));
    // QString: a header of its own plus two bytes a character; each list its array of pointers.
    constexpr qsizetype textOverhead = 24 + 16;
    size += m_channelIds.capacity() * qsizetype(sizeof(QString)) + m_displayNames.capacity() * qsizetype(sizeof(QStringList));
    for (qsizetype c = 0; c < channelCount(); ++c) {
        size += textOverhead + m_channelIds[c].capacity() * 2;
        size += m_displayNames[c].capacity() * qsizetype(sizeof(QString));
        for (const QString &name : m_displayNames[c])
            size += textOverhead + name.capacity() * 2;
    }
    return size;
}

QByteArray GuideData::serialized() const
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setVersion(QDataStream::Qt_6_4);
    stream << formatVersion << m_channelIds << m_displayNames;
    writeColumn(stream, m_first);
    writeColumn(stream, m_starts);
    writeColumn(stream, m_stops);
    writeColumn(stream, m_titles);
    writeColumn(stream, m_subTitles);
    writeColumn(stream, m_descriptions);
    writeColumn(stream, m_categories);
    stream << m_strings.buffer();
    writeColumn(stream, m_strings.offsets());
    return bytes;
}

std::optional<GuideData> GuideData::fromSerialized(QByteArrayView bytes)
{
    const QByteArray copy = QByteArray::fromRawData(bytes.data(), bytes.size());
    QDataStream stream(copy);
    stream.setVersion(QDataStream::Qt_6_4);
    const qint64 size = bytes.size();
    auto left = [&] { return size - stream.device()->pos(); };

    GuideData guide;
    quint32 version = 0;
    stream >> version;
    if (version != formatVersion)
        return std::nullopt;
    stream >> guide.m_channelIds >> guide.m_displayNames;
    if (stream.status() != QDataStream::Ok || guide.m_channelIds.size() != guide.m_displayNames.size())
        return std::nullopt;
    if (!readColumn(stream, guide.m_first, left()) || !readColumn(stream, guide.m_starts, left())
        || !readColumn(stream, guide.m_stops, left()) || !readColumn(stream, guide.m_titles, left())
        || !readColumn(stream, guide.m_subTitles, left()) || !readColumn(stream, guide.m_descriptions, left())
        || !readColumn(stream, guide.m_categories, left()))
        return std::nullopt;
    QByteArray buffer;
    std::vector<quint32> offsets;
    stream >> buffer;
    if (stream.status() != QDataStream::Ok || !readColumn(stream, offsets, left()) || !stream.atEnd())
        return std::nullopt;
    if (!guide.m_strings.assign(std::move(buffer), std::move(offsets)))
        return std::nullopt;

    // Every count, range, order and text number must hold as GuideBuilder makes them.
    const size_t programmes = guide.m_starts.size();
    if (guide.m_first.size() != size_t(guide.m_channelIds.size()) + 1 || guide.m_first.front() != 0
        || guide.m_first.back() != programmes || guide.m_stops.size() != programmes
        || guide.m_titles.size() != programmes || guide.m_subTitles.size() != programmes
        || guide.m_descriptions.size() != programmes || guide.m_categories.size() != programmes)
        return std::nullopt;
    const auto texts = quint32(guide.m_strings.size());
    for (size_t c = 0; c + 1 < guide.m_first.size(); ++c) {
        if (guide.m_first[c] > guide.m_first[c + 1])
            return std::nullopt;
        for (size_t p = guide.m_first[c]; p < guide.m_first[c + 1]; ++p) {
            if (guide.m_stops[p] <= guide.m_starts[p] || (p > guide.m_first[c] && guide.m_starts[p - 1] > guide.m_starts[p])
                || guide.m_titles[p] >= texts || guide.m_subTitles[p] >= texts || guide.m_descriptions[p] >= texts
                || guide.m_categories[p] >= texts)
                return std::nullopt;
        }
    }
    return guide;
}

GuideData GuideData::merged(const QList<GuideData> &guides)
{
    if (guides.size() == 1)
        return guides.front();
    GuideBuilder builder;
    for (const GuideData &guide : guides)
        builder.add(guide);
    return builder.build();
}
