#include "ArtworkLoader.h"
#include "async/Background.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QImageReader>
#include <QLoggingCategory>
#include <QMutexLocker>
#include <QThread>

#include <algorithm>

namespace {

Q_LOGGING_CATEGORY(lcArtwork, "quenvo.artwork", QtInfoMsg)

ArtworkLoader *theLoader = nullptr;

} // namespace

ArtworkLoader *ArtworkLoader::instance()
{
    if (!theLoader) {
        QCoreApplication *application = QCoreApplication::instance();
        Q_ASSERT(application && QThread::currentThread() == application->thread());
        theLoader = new ArtworkLoader(application);
    }
    return theLoader;
}

ArtworkLoader::ArtworkLoader(QObject *parent)
    : QObject(parent)
{
    m_queueTimer.setSingleShot(true);
    connect(&m_queueTimer, &QTimer::timeout, this, &ArtworkLoader::startQueued);
}

ArtworkLoader::~ArtworkLoader()
{
    theLoader = nullptr;
    m_alive.reset();
    const QList<std::shared_ptr<Download>> downloads = m_downloads.values();
    m_downloads.clear();
    m_queue.clear();
    for (const std::shared_ptr<Download> &download : downloads) {
        for (const std::shared_ptr<ArtworkResponse::Reply> &reply : std::as_const(download->waiting))
            reply->answer({});
        download->cancellation.cancel();
    }
}

QImage ArtworkLoader::cached(const QUrl &url)
{
    const QMutexLocker locker(&m_cacheMutex);
    return m_cache.take(url);
}

void ArtworkLoader::request(const std::shared_ptr<ArtworkResponse::Reply> &reply, const HTTPClient::Fetch &fetch)
{
    const QUrl &url = reply->url();
    // It may have arrived since the image thread looked.
    if (const QImage picture = cached(url); !picture.isNull()) {
        reply->answer(picture);
        return;
    }
    if (const std::shared_ptr<Download> running = m_downloads.value(url)) {
        running->waiting.append(reply);
        return;
    }
    auto download = std::make_shared<Download>();
    download->url = url;
    download->fetch = fetch;
    download->cancellation = CancellationToken::create();
    download->waiting.append(reply);
    download->due = QDeadlineTimer(settleDelay);
    m_downloads.insert(url, download);
    m_queue.push_back(std::move(download));
    startQueued();
}

void ArtworkLoader::withdraw(const std::shared_ptr<ArtworkResponse::Reply> &reply)
{
    // The engine waits for an answer even from a response it cancelled.
    reply->answer({});
    const auto found = m_downloads.constFind(reply->url());
    if (found == m_downloads.constEnd())
        return;
    const std::shared_ptr<Download> download = *found;
    download->waiting.removeAll(reply);
    if (!download->waiting.isEmpty())
        return;
    m_downloads.erase(found);
    if (!download->started) {
        qCDebug(lcArtwork) << "withdrawn before its turn:" << HTTPClient::redactedForLog(download->url);
        std::erase(m_queue, download);
        return;
    }
    qCDebug(lcArtwork) << "withdrawn while downloading:" << HTTPClient::redactedForLog(download->url);
    // Last: the download may end at once, and start the next one from the queue.
    download->cancellation.cancel();
}

void ArtworkLoader::startQueued()
{
    while (m_inFlight < maximumDownloads && !m_queue.empty()) {
        // The queue is in request order, so its first request is the first one due.
        if (!m_queue.front()->due.hasExpired()) {
            if (!m_queueTimer.isActive())
                m_queueTimer.start(std::max<qint64>(1, m_queue.front()->due.remainingTime()));
            return;
        }
        std::shared_ptr<Download> download = std::move(m_queue.front());
        m_queue.pop_front();
        download->started = true;
        ++m_inFlight;
        ++m_downloadsStarted;
        m_peakInFlight = std::max(m_peakInFlight, m_inFlight);
        qCDebug(lcArtwork) << "downloading" << HTTPClient::redactedForLog(download->url);
        run(std::move(download)); // runs on by itself; it ends the download in every case
    }
}

QCoro::Task<> ArtworkLoader::run(std::shared_ptr<Download> download)
{
    const std::weak_ptr<bool> alive = m_alive;
    QByteArray bytes;
    bool downloaded = false;
    try {
        const HTTPPayload payload
            = co_await download->fetch(HTTPClient::providerRequest(download->url), download->cancellation);
        bytes = payload.data;
        downloaded = true;
    } catch (const CancelledError &) {
    } catch (const std::exception &error) {
        if (!alive.expired())
            qCDebug(lcArtwork) << "no picture from" << HTTPClient::redactedForLog(download->url) << error.what();
    }
    if (alive.expired())
        co_return;
    --m_inFlight;
    startQueued();

    QImage picture;
    if (downloaded && !download->cancellation.isCancelled()) {
        ++m_decoding;
        auto decode = [bytes = std::move(bytes)] { return thumbnail(bytes); };
        picture = co_await inBackground(std::move(decode));
        if (alive.expired())
            co_return;
        --m_decoding;
        if (picture.isNull())
            qCDebug(lcArtwork) << "not a picture:" << HTTPClient::redactedForLog(download->url);
    }
    // Withdrawn meanwhile: its requests have their answer already, and nothing is kept.
    if (download->cancellation.isCancelled())
        co_return;
    if (const auto found = m_downloads.constFind(download->url);
        found != m_downloads.constEnd() && *found == download)
        m_downloads.erase(found);
    if (!picture.isNull()) {
        const QMutexLocker locker(&m_cacheMutex);
        m_cache.insert(download->url, picture);
    }
    for (const std::shared_ptr<ArtworkResponse::Reply> &reply : std::as_const(download->waiting))
        reply->answer(picture);
}

QImage ArtworkLoader::thumbnail(const QByteArray &bytes)
{
    QBuffer buffer;
    buffer.setData(bytes);
    if (!buffer.open(QIODevice::ReadOnly))
        return {};
    QImageReader reader(&buffer);
    reader.setAutoTransform(true);
    // The size as stored, before the orientation is applied: the bound is the same either way.
    const QSize stored = reader.size();
    if (stored.isValid() && std::max(stored.width(), stored.height()) > thumbnailSide)
        reader.setScaledSize(stored.scaled(thumbnailSide, thumbnailSide, Qt::KeepAspectRatio));
    QImage picture = reader.read();
    if (picture.isNull())
        return {};
    // A format that does not announce its size is scaled once decoded.
    if (std::max(picture.width(), picture.height()) > thumbnailSide)
        picture = picture.scaled(thumbnailSide, thumbnailSide, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    return picture;
}

int ArtworkLoader::cachedPictures()
{
    const QMutexLocker locker(&m_cacheMutex);
    return m_cache.count();
}

qint64 ArtworkLoader::cachedCost()
{
    const QMutexLocker locker(&m_cacheMutex);
    return m_cache.totalCost();
}

void ArtworkLoader::resetCounters()
{
    m_downloadsStarted = 0;
    m_peakInFlight = m_inFlight;
}

void ArtworkLoader::clearCache()
{
    const QMutexLocker locker(&m_cacheMutex);
    m_cache.clear();
}
