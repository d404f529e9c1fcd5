#include "GuideBuilder.h"

#include <QStringDecoder>

#include <algorithm>
#include <stdexcept>

namespace {

constexpr qint64 lastProgrammeLength = 3600;
constexpr size_t repeatsCompared = 32;

// UTF-8 to text as written: QString::fromUtf8 drops a leading byte-order mark, which would leave an
// identifier made of one mark empty.
QString textOf(QByteArrayView utf8)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom);
    return decoder.decode(utf8);
}

} // namespace

GuideBuilder::GuideBuilder(GuideWindow window)
    : m_window(window)
{
}

quint32 GuideBuilder::channel(QByteArrayView id)
{
    if (!m_channelIds.isEmpty() && m_lastId == id)
        return m_lastChannel;
    // Identifiers that read alike are one channel.
    QByteArray repaired;
    id = GuideStrings::wellFormed(id, repaired);
    if (!m_channelIds.isEmpty() && m_lastId == id)
        return m_lastChannel;
    m_lastId = id.toByteArray();
    auto found = m_channelNumbers.constFind(m_lastId);
    if (found != m_channelNumbers.constEnd()) {
        m_lastChannel = *found;
        return m_lastChannel;
    }
    m_lastChannel = quint32(m_channelIds.size());
    m_channelNumbers.insert(m_lastId, m_lastChannel);
    m_channelIds.append(m_lastId);
    m_displayNames.append(QStringList());
    return m_lastChannel;
}

void GuideBuilder::addDisplayName(quint32 channel, QByteArrayView name)
{
    if (name.isEmpty())
        return;
    const QString text = textOf(name);
    QStringList &names = m_displayNames[channel];
    if (!names.contains(text))
        names.append(text);
}

bool GuideBuilder::wants(qint64 start, std::optional<qint64> stop) const
{
    if (stop && *stop > start)
        return m_window.overlaps(start, *stop);
    return start < m_window.to;
}

void GuideBuilder::addProgramme(quint32 channel, qint64 start, std::optional<qint64> stop, QByteArrayView title,
                                QByteArrayView subTitle, QByteArrayView description, QByteArrayView category)
{
    if (m_programmes.size() >= std::numeric_limits<quint32>::max())
        throw std::length_error("more than 4 billion programmes");
    Pending programme {start, stop && *stop > start ? *stop : noStop, channel, quint32(m_programmes.size()),
                       {m_strings.intern(title), m_strings.intern(subTitle), m_strings.intern(description),
                        m_strings.intern(category)}};
    m_programmes.push_back(programme);
}

void GuideBuilder::add(const GuideData &guide)
{
    for (qsizetype c = 0; c < guide.channelCount(); ++c) {
        const quint32 number = channel(guide.channelId(c).toUtf8());
        for (const QString &name : guide.displayNames(c))
            addDisplayName(number, name.toUtf8());
        for (size_t p = guide.m_first[c]; p < guide.m_first[c + 1]; ++p) {
            const GuideStrings &texts = guide.m_strings;
            addProgramme(number, guide.m_starts[p], guide.m_stops[p], texts.bytes(guide.m_titles[p]),
                         texts.bytes(guide.m_subTitles[p]), texts.bytes(guide.m_descriptions[p]),
                         texts.bytes(guide.m_categories[p]));
        }
    }
}

GuideData GuideBuilder::build()
{
    std::vector<Pending> programmes = std::move(m_programmes);
    m_programmes = {};
    std::sort(programmes.begin(), programmes.end(), [](const Pending &a, const Pending &b) {
        if (a.channel != b.channel)
            return a.channel < b.channel;
        if (a.start != b.start)
            return a.start < b.start;
        return a.order < b.order;
    });

    // A programme without a stop runs until the next one on its channel starts. Walking each channel
    // backwards, `following` is the start of the nearest later group of programmes.
    for (size_t end = programmes.size(); end > 0;) {
        const quint32 channel = programmes[end - 1].channel;
        std::optional<qint64> following;
        std::optional<qint64> groupStart;
        size_t i = end;
        for (; i > 0 && programmes[i - 1].channel == channel; --i) {
            Pending &programme = programmes[i - 1];
            if (programme.start != groupStart) {
                following = groupStart;
                groupStart = programme.start;
            }
            if (programme.stop == noStop)
                programme.stop = following ? *following : programme.start + lastProgrammeLength;
        }
        end = i;
    }

    GuideData guide;
    guide.m_channelIds.reserve(m_channelIds.size());
    for (const QByteArray &id : std::as_const(m_channelIds))
        guide.m_channelIds.append(textOf(id));
    guide.m_displayNames = std::move(m_displayNames);
    guide.m_first.assign(size_t(guide.m_channelIds.size()) + 1, 0);

    std::vector<quint32> renumbered(size_t(m_strings.size()), std::numeric_limits<quint32>::max());
    renumbered[0] = 0;
    auto text = [&](quint32 id) {
        if (renumbered[id] == std::numeric_limits<quint32>::max())
            renumbered[id] = guide.m_strings.intern(m_strings.bytes(id));
        return renumbered[id];
    };

    // Exact repeats start together: compare each programme with the kept ones of its (channel, start),
    // the latest few of them (a guide that starts thousands of programmes at once is not worth more).
    size_t groupBegin = 0;
    std::optional<std::pair<quint32, qint64>> group;
    for (const Pending &programme : programmes) {
        if (!m_window.overlaps(programme.start, programme.stop))
            continue;
        const size_t kept = guide.m_starts.size();
        const std::pair<quint32, qint64> key {programme.channel, programme.start};
        if (group != key) {
            group = key;
            groupBegin = kept;
        }
        const quint32 texts[4] = {text(programme.texts[0]), text(programme.texts[1]), text(programme.texts[2]),
                                  text(programme.texts[3])};
        bool repeat = false;
        for (size_t k = std::max(groupBegin, kept - std::min(kept, repeatsCompared)); k < kept && !repeat; ++k) {
            repeat = guide.m_stops[k] == programme.stop && guide.m_titles[k] == texts[0]
                && guide.m_subTitles[k] == texts[1] && guide.m_descriptions[k] == texts[2]
                && guide.m_categories[k] == texts[3];
        }
        if (repeat)
            continue;
        guide.m_starts.push_back(programme.start);
        guide.m_stops.push_back(programme.stop);
        guide.m_titles.push_back(texts[0]);
        guide.m_subTitles.push_back(texts[1]);
        guide.m_descriptions.push_back(texts[2]);
        guide.m_categories.push_back(texts[3]);
        ++guide.m_first[programme.channel + 1];
    }
    for (size_t c = 1; c < guide.m_first.size(); ++c)
        guide.m_first[c] += guide.m_first[c - 1];

    for (auto *column : {&guide.m_titles, &guide.m_subTitles, &guide.m_descriptions, &guide.m_categories})
        column->shrink_to_fit();
    guide.m_starts.shrink_to_fit();
    guide.m_stops.shrink_to_fit();
    guide.m_strings.squeeze();

    *this = GuideBuilder(m_window);
    return guide;
}
