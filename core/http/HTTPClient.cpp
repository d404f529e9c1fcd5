#include "HTTPClient.h"
#include "RedirectGuard.h"
#include "TransportError.h"
#include "records/IPTVError.h"
#include "records/PlaylistSource.h"

#include <QCoroSignal>
#include <QLoggingCategory>
#include <QNetworkAccessManager>
#include <QNetworkCookie>
#include <QNetworkCookieJar>
#include <QNetworkReply>
#include <QPointer>
#include <QTimer>

#include <memory>

using namespace Qt::StringLiterals;

Q_LOGGING_CATEGORY(lcHttp, "quenvo.http", QtInfoMsg)

namespace {

// Accepts no cookie, so none is ever sent back, not even within one redirect chain.
class RefusingCookieJar : public QNetworkCookieJar
{
public:
    using QNetworkCookieJar::QNetworkCookieJar;
    bool setCookiesFromUrl(const QList<QNetworkCookie> &, const QUrl &) override { return false; }
    QList<QNetworkCookie> cookiesForUrl(const QUrl &) const override { return {}; }
};

bool isFollowedRedirectStatus(int status)
{
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

IPTVError sizeLimitError()
{
    return IPTVError(u"La llista supera el límit de 25 MB."_s);
}

// One download, hop by hop through its redirects. Emits `done` once; the outcome is either
// `payload` or `failure`.
class FetchOperation : public QObject
{
    Q_OBJECT
public:
    FetchOperation(QNetworkRequest request, const CancellationToken &cancellation, const HTTPClient::Limits &limits)
        : m_request(std::move(request))
        , m_limits(limits)
        , m_cancellation(cancellation)
    {
        m_manager.setCookieJar(new RefusingCookieJar(&m_manager));
        m_manager.setRedirectPolicy(QNetworkRequest::ManualRedirectPolicy);
        m_manager.setCache(nullptr);
        m_manager.setAutoDeleteReplies(false);

        const int requestTimeout = m_request.transferTimeout();
        m_headTimeout = requestTimeout > 0 ? std::chrono::milliseconds(requestTimeout) : limits.head;
        // Our own timers decide; Qt's transfer timeout would end the reply as if cancelled.
        m_request.setTransferTimeout(0);
        // No cache is installed, so nothing is ever read from one. (Asking for AlwaysNetwork would make Qt
        // add "Cache-Control: no-cache" and "Pragma: no-cache" to the request's own headers.)
        m_request.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
        m_request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
        m_request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
        m_request.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
        m_request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);

        for (QTimer *timer : {&m_headTimer, &m_idleTimer, &m_resourceTimer}) {
            timer->setSingleShot(true);
            connect(timer, &QTimer::timeout, this, &FetchOperation::timedOut);
        }
        if (CancellationState *state = m_cancellation.state())
            connect(state, &CancellationState::cancelled, this, &FetchOperation::cancelled);
    }

    ~FetchOperation() override { dropReply(); }

    void start()
    {
        if (m_cancellation.isCancelled()) {
            finish(std::make_exception_ptr(CancelledError()));
            return;
        }
        m_resourceTimer.start(m_limits.resource);
        send(m_request);
    }

    bool isDone() const { return m_done; }
    std::exception_ptr failure;
    HTTPPayload payload;

Q_SIGNALS:
    void done();

private:
    void send(const QNetworkRequest &request)
    {
        dropReply();
        m_statusHandled = false;
        m_body.clear();
        qCDebug(lcHttp) << "GET" << HTTPClient::redactedForLog(request.url());
        m_reply = m_manager.get(request);
        m_currentRequest = request;
        // A new hop waits for its head under the head limit only; the idle limit is for bodies.
        m_idleTimer.stop();
        m_headTimer.start(m_headTimeout);
        connect(m_reply, &QNetworkReply::metaDataChanged, this, &FetchOperation::headReceived);
        connect(m_reply, &QNetworkReply::readyRead, this, &FetchOperation::bodyReceived);
        connect(m_reply, &QNetworkReply::finished, this, &FetchOperation::replyFinished);
        connect(m_reply, &QNetworkReply::sslErrors, this, [this] { m_certificateRejected = true; });
    }

    void dropReply()
    {
        if (!m_reply)
            return;
        m_reply->disconnect(this);
        m_reply->abort();
        m_reply->deleteLater();
        m_reply = nullptr;
    }

    // Answers true when the response head settled the outcome (an error or a redirect).
    bool handleStatus()
    {
        if (m_statusHandled)
            return false;
        const QVariant statusAttribute = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
        if (!statusAttribute.isValid())
            return false;
        m_statusHandled = true;
        m_headTimer.stop();
        m_idleTimer.start(m_limits.idle);
        const int status = statusAttribute.toInt();

        if (isFollowedRedirectStatus(status) && m_reply->hasRawHeader("Location")) {
            const QUrl leaving = m_reply->url();
            const QUrl target = leaving.resolved(PlaylistSource::parseURL(
                QString::fromUtf8(m_reply->rawHeader("Location"))));
            QNetworkRequest next = m_currentRequest;
            next.setUrl(target);
            if (std::optional<QNetworkRequest> follow = m_guard.willRedirect(leaving, std::move(next))) {
                qCDebug(lcHttp) << status << "redirect to" << HTTPClient::redactedForLog(target);
                send(*follow);
                return true;
            }
            qCInfo(lcHttp) << "refused redirect from" << HTTPClient::redactedForLog(leaving) << "to"
                           << HTTPClient::redactedForLog(target);
        }
        if (status == 401 || status == 403) {
            fail(IPTVError(u"Accés denegat. Revisa l’usuari, la contrasenya i els permisos."_s));
            return true;
        }
        if (status < 200 || status > 299) {
            fail(IPTVError(u"El servidor ha respost amb l’error HTTP %1."_s.arg(status)));
            return true;
        }
        const QVariant announced = m_reply->header(QNetworkRequest::ContentLengthHeader);
        if (announced.isValid() && announced.toLongLong() > m_limits.maximumBytes) {
            fail(sizeLimitError());
            return true;
        }
        return false;
    }

    void headReceived()
    {
        if (!m_done)
            handleStatus();
    }

    bool readAvailable()
    {
        const qint64 available = m_reply->bytesAvailable();
        if (available <= 0)
            return true;
        if (m_body.size() + available > m_limits.maximumBytes) {
            fail(sizeLimitError());
            return false;
        }
        m_body.append(m_reply->read(available));
        return true;
    }

    void bodyReceived()
    {
        if (m_done || handleStatus())
            return;
        m_idleTimer.start(m_limits.idle);
        readAvailable();
    }

    void replyFinished()
    {
        if (m_done || handleStatus())
            return;
        if (!m_statusHandled) {
            const QNetworkReply::NetworkError error = m_reply->error();
            if (error == QNetworkReply::NoError) {
                fail(IPTVError(u"Resposta desconeguda del servidor."_s));
            } else {
                TransportError transport = TransportError::fromNetworkError(error, m_reply->errorString());
                if (m_certificateRejected && transport.kind() == TransportError::Kind::secureConnectionFailed)
                    transport = TransportError(TransportError::Kind::serverCertificateUntrusted, error,
                                               m_reply->errorString());
                qCInfo(lcHttp) << "transfer failed:" << HTTPClient::redactedForLog(m_reply->url())
                               << m_reply->errorString();
                fail(transport);
            }
            return;
        }
        if (!readAvailable())
            return;
        if (m_reply->error() != QNetworkReply::NoError) {
            // The head arrived but the body broke off (connection closed, short body).
            qCInfo(lcHttp) << "body failed:" << HTTPClient::redactedForLog(m_reply->url()) << m_reply->errorString();
            fail(TransportError::fromNetworkError(m_reply->error(), m_reply->errorString()));
            return;
        }
        if (endedEarly()) {
            qCInfo(lcHttp) << "body shorter than announced:" << HTTPClient::redactedForLog(m_reply->url());
            fail(TransportError(TransportError::Kind::other, QNetworkReply::RemoteHostClosedError,
                                u"the connection closed before the announced length"_s));
            return;
        }
        payload = HTTPPayload{std::move(m_body), m_reply->url()};
        finish({});
    }

    // When the server closes the connection right after its last bytes, Qt may finish the reply without
    // an error even though fewer bytes than the Content-Length arrived. (A compressed body is counted
    // after decompression, so it cannot be compared with the announced length.)
    bool endedEarly() const
    {
        const QVariant announced = m_reply->header(QNetworkRequest::ContentLengthHeader);
        const QByteArray encoding = m_reply->rawHeader("Content-Encoding").trimmed().toLower();
        const bool identity = encoding.isEmpty() || encoding == "identity";
        return announced.isValid() && identity && m_body.size() < announced.toLongLong();
    }

    void timedOut()
    {
        if (m_done)
            return;
        qCInfo(lcHttp) << "timed out:" << HTTPClient::redactedForLog(m_currentRequest.url());
        fail(TransportError(TransportError::Kind::timedOut, QNetworkReply::TimeoutError, u"timed out"_s));
    }

    void cancelled()
    {
        if (!m_done)
            finish(std::make_exception_ptr(CancelledError()));
    }

    template<typename Error>
    void fail(const Error &error)
    {
        finish(std::make_exception_ptr(error));
    }

    void finish(std::exception_ptr outcome)
    {
        if (m_done)
            return;
        m_done = true;
        failure = std::move(outcome);
        if (failure)
            m_body.clear();
        m_headTimer.stop();
        m_idleTimer.stop();
        m_resourceTimer.stop();
        dropReply();
        Q_EMIT done();
    }

    QNetworkAccessManager m_manager;
    QNetworkRequest m_request;
    QNetworkRequest m_currentRequest;
    HTTPClient::Limits m_limits;
    std::chrono::milliseconds m_headTimeout{};
    CancellationToken m_cancellation;
    RedirectGuard m_guard;
    QPointer<QNetworkReply> m_reply;
    QByteArray m_body;
    QTimer m_headTimer;
    QTimer m_idleTimer;
    QTimer m_resourceTimer;
    bool m_statusHandled = false;
    bool m_certificateRejected = false;
    bool m_done = false;
};

} // namespace

namespace HTTPClient {

QCoro::Task<HTTPPayload> fetch(QNetworkRequest request, CancellationToken cancellation, Limits limits)
{
    auto operation = std::make_unique<FetchOperation>(std::move(request), cancellation, limits);
    operation->start();
    if (!operation->isDone())
        co_await qCoro(operation.get(), &FetchOperation::done);
    if (operation->failure)
        std::rethrow_exception(operation->failure);
    co_return std::move(operation->payload);
}

QNetworkRequest providerRequest(const QUrl &url)
{
    QNetworkRequest request(url);
    request.setRawHeader("User-Agent", userAgent);
    request.setTransferTimeout(60 * 1000);
    return request;
}

Fetch defaultFetch()
{
    return [](QNetworkRequest request, CancellationToken cancellation) {
        return fetch(std::move(request), std::move(cancellation));
    };
}

QString redactedForLog(const QUrl &url)
{
    const QString path = url.path();
    const QString last = path.section(u'/', -1);
    const bool deeper = path.count(u'/') > 1;
    return url.toString(QUrl::RemovePath | QUrl::RemoveQuery | QUrl::RemoveFragment | QUrl::RemoveUserInfo)
        + (deeper ? u"/…/"_s : u"/"_s) + last;
}

} // namespace HTTPClient

#include "HTTPClient.moc"
