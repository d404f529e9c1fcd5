#pragma once

#include "ProviderCatalog.h"

#include <QByteArray>
#include <QString>

// The provider's programme guide, aligned to the real clock: every live channel among the first
// `coveredChannels` has back-to-back programmes on a grid of its own (30, 45, 60 or 90 minutes,
// counted from 1970 in UTC), with titles and descriptions drawn from a fixed list by channel and
// slot, so that the same moment always shows the same programme. Channels beyond are not in the
// guide, as with real providers whose guides cover part of the list. Pure functions.
class ProviderGuide
{
public:
    static constexpr int coveredChannels = 2000;

    explicit ProviderGuide(const ProviderCatalog &catalog);

    struct Programme
    {
        qint64 start = 0; // seconds since 1970
        qint64 stop = 0;
        QString title;
        QString description;
    };

    bool covers(int channel) const;
    // The programme on `channel` at `time`; the next ones follow from its stop.
    Programme programmeAt(int channel, qint64 time) const;

    // XMLTV for every covered channel, from three hours before `now` to 26 hours after it, times
    // with a +0100 offset as many European guides write them.
    QByteArray xmltv(qint64 now) const;
    // player_api.php's get_short_epg: `limit` programmes from the one on now (titles and
    // descriptions in base64, as panels send them); an empty list for a channel outside the guide.
    QByteArray shortEpg(int channel, int limit, qint64 now) const;

    // `bytes` as a gzip file.
    static QByteArray gzip(const QByteArray &bytes);

private:
    qint64 slotLength(int channel) const;

    const ProviderCatalog &m_catalog;
};
