#pragma once

#include "GuideProgramme.h"
#include "GuideStrings.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

// The programmes of a guide, per channel, ordered by start (programmes may overlap). Built by
// GuideBuilder; read-only afterwards, so copies share nothing mutable and may cross threads.
//
// Compact: each channel's programmes are one run of parallel arrays (start, stop and four text
// numbers, 32 bytes a programme) and every text is stored once as UTF-8 (GuideStrings). Lookups by
// time are binary searches in a channel's run.
class GuideData
{
public:
    qsizetype channelCount() const { return m_channelIds.size(); }
    // The guide's own identifier of a channel (`<channel id>`) and its display names, in order.
    const QString &channelId(qsizetype channel) const { return m_channelIds[channel]; }
    const QStringList &displayNames(qsizetype channel) const { return m_displayNames[channel]; }

    qsizetype programmeCount() const { return qsizetype(m_starts.size()); }
    qsizetype programmeCount(qsizetype channel) const { return qsizetype(m_first[channel + 1] - m_first[channel]); }
    // The `index`-th programme of `channel` (0 ≤ index < programmeCount(channel)).
    GuideProgramme programme(qsizetype channel, qsizetype index) const;

    // What is on at `time`: the latest-starting programme with start ≤ time < stop. Overlaps are
    // looked for among the eight programmes starting last before `time` (guides overlap a programme
    // or two, not dozens), which keeps this, like `schedule`, a binary search and a few steps.
    std::optional<GuideProgramme> now(qsizetype channel, qint64 time) const;
    // The first programme starting after `time`.
    std::optional<GuideProgramme> next(qsizetype channel, qint64 time) const;
    // Every programme overlapping [from, to), by start: a day's schedule when given the day's bounds.
    QList<GuideProgramme> schedule(qsizetype channel, qint64 from, qint64 to) const;

    // Memory held by the guide, in bytes (arrays at their capacity, texts, channel names).
    qsizetype byteSize() const;

    // A self-contained byte form (for the cache), and back. `fromSerialized` checks every count,
    // index and order, and gives nothing for bytes that do not describe a guide.
    QByteArray serialized() const;
    static std::optional<GuideData> fromSerialized(QByteArrayView bytes);

    // Several guides as one: channels with the same identifier share one schedule; programmes given
    // by more than one guide are kept once.
    static GuideData merged(const QList<GuideData> &guides);

    friend bool operator==(const GuideData &, const GuideData &) = default;

private:
    friend class GuideBuilder;

    GuideProgramme at(size_t programme) const;
    // First programme of `channel` whose start is greater than `time` (its run's end when none).
    size_t firstStartingAfter(qsizetype channel, qint64 time) const;

    QStringList m_channelIds;
    QList<QStringList> m_displayNames;
    std::vector<quint32> m_first {0}; // channel c owns programmes [m_first[c], m_first[c + 1])
    std::vector<qint64> m_starts;
    std::vector<qint64> m_stops;
    std::vector<quint32> m_titles;
    std::vector<quint32> m_subTitles;
    std::vector<quint32> m_descriptions;
    std::vector<quint32> m_categories;
    GuideStrings m_strings;
};
