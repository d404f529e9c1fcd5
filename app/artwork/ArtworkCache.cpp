#include "ArtworkCache.h"

ArtworkCache::ArtworkCache(int maximumCount, qint64 maximumCost)
    : m_maximumCount(maximumCount)
    , m_maximumCost(maximumCost)
{
}

QImage ArtworkCache::take(const QUrl &url)
{
    const auto found = m_index.constFind(url);
    if (found == m_index.constEnd())
        return {};
    m_entries.splice(m_entries.begin(), m_entries, *found);
    return m_entries.front().picture;
}

void ArtworkCache::insert(const QUrl &url, const QImage &picture)
{
    if (const auto found = m_index.constFind(url); found != m_index.constEnd())
        remove(*found);
    const qint64 cost = costOf(picture);
    if (picture.isNull() || cost > m_maximumCost)
        return;
    while (!m_entries.empty() && (count() >= m_maximumCount || m_totalCost + cost > m_maximumCost))
        remove(std::prev(m_entries.end()));
    m_entries.push_front(Entry{url, picture, cost});
    m_index.insert(url, m_entries.begin());
    m_totalCost += cost;
}

void ArtworkCache::clear()
{
    m_entries.clear();
    m_index.clear();
    m_totalCost = 0;
}

void ArtworkCache::remove(std::list<Entry>::iterator entry)
{
    m_totalCost -= entry->cost;
    m_index.remove(entry->url);
    m_entries.erase(entry);
}
