#pragma once

#include <QHash>
#include <QImage>
#include <QUrl>

#include <list>

// Decoded pictures by address, least recently used first out, within two limits: a number of
// pictures and a total cost, the cost of a picture being its bytes per line times its height
// (QCache bounds only the cost). A picture costlier than the whole limit is not kept. Not thread
// safe: its owner locks.
class ArtworkCache
{
public:
    ArtworkCache(int maximumCount, qint64 maximumCost);

    // The picture, made the most recently used; a null image when it is not cached.
    QImage take(const QUrl &url);
    bool contains(const QUrl &url) const { return m_index.contains(url); }
    void insert(const QUrl &url, const QImage &picture);
    void clear();

    int count() const { return int(m_index.size()); }
    qint64 totalCost() const { return m_totalCost; }
    static qint64 costOf(const QImage &picture) { return qint64(picture.bytesPerLine()) * picture.height(); }

private:
    struct Entry
    {
        QUrl url;
        QImage picture;
        qint64 cost;
    };
    void remove(std::list<Entry>::iterator entry);

    const int m_maximumCount;
    const qint64 m_maximumCost;
    std::list<Entry> m_entries; // most recently used first
    QHash<QUrl, std::list<Entry>::iterator> m_index;
    qint64 m_totalCost = 0;
};
