#pragma once

#include "ArtworkCache.h"
#include "ArtworkResponse.h"
#include "http/HTTPClient.h"

#include <QHash>
#include <QImage>
#include <QMutex>
#include <QDeadlineTimer>
#include <QObject>
#include <QTimer>
#include <QUrl>

#include <chrono>
#include <deque>
#include <memory>

// The pictures of the catalogue for the whole process: one in-memory cache of decoded thumbnails
// and the downloads that fill it. Lives on the main thread, where every download runs; decoding
// runs on the thread pool. Requests for an address already downloading join that download; new
// downloads wait in a first-in, first-out queue so that at most `maximumDownloads` are in flight,
// whatever the views ask for while the user flings through a large grid. A request withdrawn while
// queued leaves the queue; a download nobody waits for any more is cancelled and stores nothing.
//
// Reached through ArtworkLoader::instance(), created on first use on the main thread and destroyed
// with the application object. Nothing is written to disk.
class ArtworkLoader : public QObject
{
    Q_OBJECT

public:
    // Six downloads at a time, as web browsers allow per server: enough to fill a screen of posters
    // quickly, and a load that the providers' picture servers are used to. Everything else waits.
    static constexpr int maximumDownloads = 6;
    // A request starts its download only once it has waited this long: cards that a fling carries
    // past withdraw their requests before that, so only the posters a person can look at are
    // downloaded.
    static constexpr std::chrono::milliseconds settleDelay{120};
    // The cache keeps at most this many pictures and this many bytes of pixels; the least recently
    // used pictures go first. A picture costs its bytes per line times its height.
    static constexpr int maximumCachedPictures = 160;
    static constexpr qint64 maximumCacheCost = 64 * 1024 * 1024;
    // Pictures are decoded from the whole image into thumbnails at most this long on either side.
    static constexpr int thumbnailSide = 600;

    // Main thread the first time.
    static ArtworkLoader *instance();
    ~ArtworkLoader() override;

    // Any thread: the cached picture for `url`, or a null image.
    QImage cached(const QUrl &url);
    // Main thread: answers `reply` from the cache or from a download (shared, queued), downloading
    // through `fetch` when it has to start one.
    void request(const std::shared_ptr<ArtworkResponse::Reply> &reply, const HTTPClient::Fetch &fetch);
    // Main thread: `reply` is no longer wanted; it is answered with nothing if it was still waiting.
    void withdraw(const std::shared_ptr<ArtworkResponse::Reply> &reply);

    // A thumbnail of the picture in `bytes` (orientation applied, at most thumbnailSide on its longer
    // side, aspect ratio kept); a null image when the bytes are not a picture. Any thread.
    static QImage thumbnail(const QByteArray &bytes);

    // Counters, main thread only, for tests and diagnostics: downloads started since the last
    // resetCounters(), downloads in flight now and at most at once, requests waiting in the queue.
    long long downloadsStarted() const { return m_downloadsStarted; }
    int downloadsInFlight() const { return m_inFlight; }
    int peakDownloadsInFlight() const { return m_peakInFlight; }
    int queuedDownloads() const { return int(m_queue.size()); }
    // Whether any request is queued, in flight or being decoded.
    bool isIdle() const { return m_downloads.isEmpty() && m_inFlight == 0 && m_decoding == 0; }
    int cachedPictures();
    qint64 cachedCost();
    // Starts counting afresh (the peak restarts from the downloads in flight now).
    void resetCounters();
    // Forgets every cached picture.
    void clearCache();

private:
    struct Download
    {
        QUrl url;
        HTTPClient::Fetch fetch;
        CancellationToken cancellation;
        QList<std::shared_ptr<ArtworkResponse::Reply>> waiting;
        bool started = false;
        QDeadlineTimer due; // when it may start
    };

    explicit ArtworkLoader(QObject *parent);
    void startQueued();
    QCoro::Task<> run(std::shared_ptr<Download> download);
    void store(const QUrl &url, const QImage &picture);

    QMutex m_cacheMutex; // the image threads read the cache
    ArtworkCache m_cache{maximumCachedPictures, maximumCacheCost};
    QHash<QUrl, std::shared_ptr<Download>> m_downloads; // queued or in flight, by address
    std::deque<std::shared_ptr<Download>> m_queue;
    QTimer m_queueTimer; // wakes the queue when its first request is due
    int m_inFlight = 0;
    int m_decoding = 0;
    int m_peakInFlight = 0;
    long long m_downloadsStarted = 0;
    // Downloads still running when the loader is destroyed find it gone through this.
    std::shared_ptr<bool> m_alive = std::make_shared<bool>(true);
};
