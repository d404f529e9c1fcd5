#include "ArtworkResponse.h"

#include <QMutexLocker>
#include <QQuickTextureFactory>

using namespace Qt::StringLiterals;

void ArtworkResponse::Reply::answer(const QImage &picture)
{
    const QMutexLocker locker(&m_mutex);
    if (!m_response || m_answered)
        return;
    m_answered = true;
    ArtworkResponse *response = m_response;
    response->m_picture = picture;
    // Queued to the response's thread: the engine connects to finished() there right after the
    // response is handed over, so a quick answer cannot overtake that connection. The response
    // cannot be deleted before this is posted: its destructor waits for the mutex.
    QMetaObject::invokeMethod(response, [response] { Q_EMIT response->finished(); }, Qt::QueuedConnection);
}

ArtworkResponse::ArtworkResponse(QUrl url, std::function<void(std::shared_ptr<Reply>)> withdraw)
    : m_reply(std::make_shared<Reply>(std::move(url)))
    , m_withdraw(std::move(withdraw))
{
    m_reply->m_response = this;
    ++s_live;
}

ArtworkResponse::~ArtworkResponse()
{
    const QMutexLocker locker(&m_reply->m_mutex);
    m_reply->m_response = nullptr;
    --s_live;
}

QQuickTextureFactory *ArtworkResponse::textureFactory() const
{
    return m_picture.isNull() ? nullptr : QQuickTextureFactory::textureFactoryForImage(m_picture);
}

QString ArtworkResponse::errorString() const
{
    // Never shown: the poster keeps its placeholder.
    return m_picture.isNull() ? u"no picture"_s : QString();
}

void ArtworkResponse::cancel()
{
    // The engine still waits for finished() before it lets the response go. It is emitted here, at
    // once, unless an answer is already on its way: when the engine closes, its image thread stops
    // right after cancelling, and an answer posted later would never be seen (nor the response freed).
    bool answerNow = false;
    {
        const QMutexLocker locker(&m_reply->m_mutex);
        if (!m_reply->m_answered) {
            m_reply->m_answered = true;
            answerNow = true;
        }
    }
    if (m_withdraw)
        m_withdraw(m_reply);
    if (answerNow)
        Q_EMIT finished();
}
