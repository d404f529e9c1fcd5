#include "CatalogDetail.h"

#include <algorithm>

QList<qint64> CatalogDetail::seasons() const
{
    QList<qint64> result;
    result.reserve(episodes.size());
    for (const CatalogEpisode &episode : episodes)
        result.append(episode.season);
    std::sort(result.begin(), result.end());
    result.erase(std::unique(result.begin(), result.end()), result.end());
    return result;
}

std::optional<qint64> CatalogDetail::initialSeason(const std::function<bool(const CatalogEpisode &)> &isWatched) const
{
    std::optional<qint64> lowestUnwatched;
    for (const CatalogEpisode &episode : episodes) {
        if (!isWatched(episode) && (!lowestUnwatched || episode.season < *lowestUnwatched))
            lowestUnwatched = episode.season;
    }
    if (lowestUnwatched)
        return lowestUnwatched;
    const QList<qint64> all = seasons();
    if (all.isEmpty())
        return std::nullopt;
    return all.last();
}
