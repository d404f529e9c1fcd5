#include "HTTPClient.h"
#include "ConnectionClaim.h"
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

// An interim answer (1xx, but for a switch of protocols we never ask for): the final one follows.
bool isInterimStatus(int status)
{
    return status >= 100 && status < 200 && status != 101;
}

// Interim answers taken one after another for a single request before the client gives up on it.
constexpr int maximumInterimAnswers = 3;

// How much of the body is taken from the reply at a time.
constexpr qint64 readPiece = 256 * 1024;

bool isFollowedRedirectStatus(int status)
{
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
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
        // Qt refuses a compressed body that expands more than 40 times past 10 MB, before our limit is
        // reached and with a message of its own; the limit below counts the decompressed bytes instead.
        m_request.setDecompressedSafetyCheckThreshold(-1);

        for (QTimer *timer : {&m_headTimer, &m_idleTimer, &m_resourceTimer}) {
            timer->setSingleShot(true);
            connect(timer, &QTimer::timeout, this, &FetchOperation::timedOut);
        }
        if (CancellationState *state = m_cancellation.state())
            connect(state, &CancellationState::cancelled, this, &FetchOperation::cancelled);
    }

    ~FetchOperation() override
    {
        if (m_reply) {
            m_reply->disconnect(this);
            m_reply->abort();
        }
    }

    void start()
    {
        if (m_cancellation.isCancelled()) {
            finish(std::make_exception_ptr(CancelledError()));
            return;
        }
        m_resourceTimer.start(m_limits.resource);
        send(m_request);
    }

    std::exception_ptr failure;
    HTTPPayload payload;

Q_SIGNALS:
    void done();

private:
    void send(const QNetworkRequest &request)
    {
        m_interimAnswers = 0;
        // A new hop waits for its head under the head limit only; the idle limit is for bodies.
        m_idleTimer.stop();
        m_headTimer.start(m_headTimeout);
        ask(request);
    }

    void ask(const QNetworkRequest &request)
    {
        retireReply();
        m_statusHandled = false;
        m_body.clear();
        qCDebug(lcHttp) << "GET" << HTTPClient::redactedForLog(request.url());
        m_connection.expect(request.url());
        m_reply = m_manager.get(request);
        m_currentRequest = request;
        connect(m_reply, &QNetworkReply::requestSent, this, [this] { m_connection.claim(); });
        connect(m_reply, &QNetworkReply::metaDataChanged, this, &FetchOperation::headReceived);
        connect(m_reply, &QNetworkReply::readyRead, this, &FetchOperation::bodyReceived);
        connect(m_reply, &QNetworkReply::finished, this, &FetchOperation::replyFinished);
        connect(m_reply, &QNetworkReply::sslErrors, this, [this] { m_certificateRejected = true; });
    }

    // Lets go of the current reply. Inside one of its own signals, aborting it would make Qt finish it
    // twice: there the abort waits for the event loop. The reply is deleted with its abort, so that
    // nothing Qt's thread still reports about it (the reset of its connection) reaches it.
    void retireReply()
    {
        if (!m_reply)
            return;
        m_reply->disconnect(this);
        const QPointer<QNetworkReply> reply = m_reply.get();
        m_reply = nullptr;
        const auto abort = [reply] {
            if (!reply)
                return;
            // A reply Qt has already failed (an error status, say) is only waiting for its own
            // finish: aborting it would fail it a second time. Deleting it still stops its transfer.
            if (reply->error() == QNetworkReply::NoError)
                reply->abort();
            delete reply.get();
        };
        if (m_inReplySignal)
            QMetaObject::invokeMethod(&m_manager, abort, Qt::QueuedConnection);
        else
            abort();
    }

    // Marks the time spent in a handler of the reply's signals.
    struct InReplySignal
    {
        explicit InReplySignal(bool &flag)
            : m_flag(flag)
        {
            m_flag = true;
        }
        ~InReplySignal() { m_flag = false; }
        InReplySignal(const InReplySignal &) = delete;
        InReplySignal &operator=(const InReplySignal &) = delete;
        bool &m_flag;
    };

    // Answers true when the response head settled the outcome (an error or a redirect).
    bool handleStatus()
    {
        if (m_statusHandled)
            return false;
        const QVariant statusAttribute = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
        if (!statusAttribute.isValid())
            return false;
        const int status = statusAttribute.toInt();
        if (isInterimStatus(status))
            return false;
        m_statusHandled = true;
        m_headTimer.stop();
        m_idleTimer.start(m_limits.idle);

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
            fail(HTTPClient::sizeLimitError());
            return true;
        }
        // Room for the announced body at once (it is within the limit): growing a 20 MB body as
        // it comes copies it over and over, tens of milliseconds of the calling thread.
        if (announced.isValid() && announced.toLongLong() > m_body.capacity())
            m_body.reserve(announced.toLongLong());
        return false;
    }

    void headReceived()
    {
        const InReplySignal inside(m_inReplySignal);
        if (!m_done)
            handleStatus();
    }

    // Takes what the reply holds, decompressed, into the body; false once the body passed the limit.
    bool readAvailable()
    {
        for (;;) {
            // One byte more than the limit allows is enough to know it is passed.
            const qint64 room = m_limits.maximumBytes - m_body.size() + 1;
            const QByteArray piece = m_reply->read(std::min(readPiece, room));
            if (piece.isEmpty())
                return true;
            if (piece.size() >= room) {
                fail(HTTPClient::sizeLimitError());
                return false;
            }
            m_body.append(piece);
        }
    }

    void bodyReceived()
    {
        const InReplySignal inside(m_inReplySignal);
        if (m_done || handleStatus())
            return;
        m_idleTimer.start(m_limits.idle);
        readAvailable();
    }

    void replyFinished()
    {
        const InReplySignal inside(m_inReplySignal);
        if (m_done)
            return;
        const int status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        if (isInterimStatus(status) && m_reply->error() == QNetworkReply::NoError) {
            // Qt 6.4 skips only "100 Continue" and ends the reply at any other interim answer. The final
            // answer is still to come on that connection, and Qt reads it as the reply to the next request
            // sent there: the same GET again, so the same answer. (If the final answer had already arrived
            // with the interim one, Qt drops it with the connection: the next request starts afresh.)
            if (++m_interimAnswers > maximumInterimAnswers) {
                fail(IPTVError(u"El servidor ha respost amb l’error HTTP %1."_s.arg(status)));
                return;
            }
            qCDebug(lcHttp) << "interim answer" << status << "from" << HTTPClient::redactedForLog(m_reply->url());
            ask(m_currentRequest);
            return;
        }
        if (handleStatus())
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

    // Settles the outcome. On failure a connection that Qt's thread is behind on is reset at once (that
    // thread may be stuck reading it); `done` follows from the event loop, so that nothing is torn down
    // inside a reply's own signal.
    void finish(std::exception_ptr outcome)
    {
        if (m_done)
            return;
        m_done = true;
        failure = std::move(outcome);
        m_headTimer.stop();
        m_idleTimer.stop();
        m_resourceTimer.stop();
        retireReply();
        if (failure) {
            m_body.clear();
            m_connection.cut();
        } else {
            m_connection.release();
        }
        QMetaObject::invokeMethod(this, &FetchOperation::done, Qt::QueuedConnection);
    }

    QNetworkAccessManager m_manager;
    QNetworkRequest m_request;
    QNetworkRequest m_currentRequest;
    HTTPClient::Limits m_limits;
    std::chrono::milliseconds m_headTimeout{};
    CancellationToken m_cancellation;
    RedirectGuard m_guard;
    ConnectionClaim m_connection;
    QPointer<QNetworkReply> m_reply;
    QByteArray m_body;
    QTimer m_headTimer;
    QTimer m_idleTimer;
    QTimer m_resourceTimer;
    int m_interimAnswers = 0;
    bool m_inReplySignal = false;
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

IPTVError sizeLimitError()
{
    return IPTVError(u"La llista supera el límit de 25 MB."_s);
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
