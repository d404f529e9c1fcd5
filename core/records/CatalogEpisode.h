#pragma once

#include "Channel.h"

#include <QString>
#include <QUrl>

#include <optional>

// One episode of a series, with its playable stream.
struct CatalogEpisode
{
    QString id;
    qint64 season = 0;
    qint64 number = 0; // 0 when unknown
    QString title;
    QString plot;
    QString duration; // the provider's text, unchanged
    std::optional<QUrl> image;
    Channel channel;

    friend bool operator==(const CatalogEpisode &, const CatalogEpisode &) = default;
};
