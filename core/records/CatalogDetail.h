#pragma once

#include "CatalogEpisode.h"
#include "CatalogItem.h"

#include <QList>

#include <functional>
#include <optional>

// The detail page of one title: synopsis, credits, and the playable movie or the episodes.
struct CatalogDetail
{
    CatalogItem item;
    QString plot;
    QString genre;
    QString cast;
    QString duration;
    std::optional<QUrl> poster;
    std::optional<Channel> movie;        // absent for series
    QList<CatalogEpisode> episodes;      // ordered by season, number, id

    // The distinct seasons of the episodes, ascending.
    QList<qint64> seasons() const;
    // The season to open first: the lowest one that still has an unwatched episode, else the last.
    std::optional<qint64> initialSeason(const std::function<bool(const CatalogEpisode &)> &isWatched) const;
};
