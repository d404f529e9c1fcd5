#pragma once

#include "GuideData.h"
#include "GuideWindow.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QHash>

#include <optional>
#include <vector>

// Collects channels and programmes in any order and turns them into a GuideData: programmes sorted
// by start within their channel, a missing stop set to the next start on that channel (or an hour
// after its own start when it is the last), exact repeats kept once, and only what overlaps the
// window kept. Texts arrive as UTF-8.
class GuideBuilder
{
public:
    explicit GuideBuilder(GuideWindow window = GuideWindow::everything());

    const GuideWindow &window() const { return m_window; }

    // The number of the channel with this identifier, added on first sight.
    quint32 channel(QByteArrayView id);
    // A display name of `channel`; repeats and empty names are ignored.
    void addDisplayName(quint32 channel, QByteArrayView name);

    // Whether a programme with these times may end up in the window, so that reading its texts is
    // worth it. A programme without a stop may, while it starts before the window ends.
    bool wants(qint64 start, std::optional<qint64> stop) const;
    // A stop that is not after the start counts as none.
    void addProgramme(quint32 channel, qint64 start, std::optional<qint64> stop, QByteArrayView title,
                      QByteArrayView subTitle, QByteArrayView description, QByteArrayView category);
    // Every channel and programme of `guide`.
    void add(const GuideData &guide);

    qsizetype programmeCount() const { return qsizetype(m_programmes.size()); }

    // The guide; the builder is left empty.
    GuideData build();

private:
    static constexpr qint64 noStop = std::numeric_limits<qint64>::min();

    struct Pending
    {
        qint64 start;
        qint64 stop;
        quint32 channel;
        quint32 order; // arrival, to keep the first of programmes starting together first
        quint32 texts[4]; // title, sub-title, description, category in m_strings
    };

    GuideWindow m_window;
    QHash<QByteArray, quint32> m_channelNumbers;
    QList<QByteArray> m_channelIds;
    QList<QStringList> m_displayNames;
    QByteArray m_lastId; // programmes come channel by channel: skip the hash for a repeat
    quint32 m_lastChannel = 0;
    std::vector<Pending> m_programmes;
    GuideStrings m_strings;
};
