#include "LoopbackServer.h"

#include <QHash>
#include <QMutex>
#include <QMutexLocker>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <future>

using namespace Qt::StringLiterals;

struct LoopbackServer::Shared
{
    mutable QMutex mutex;
    QHash<QString, Handler> routes;
    Handler fallback
        = [](const Request &) { return Response::withStatus(404, QByteArrayLiteral("Not Found")); };
    QList<Request> requests;
    std::atomic<int> accepted {0};
    std::atomic<int> open {0};
    std::atomic<qint64> bodyBytesSent {0};
    std::atomic<qint64> headBytesSent {0};

    Handler handlerFor(const QString &path) const
    {
        const QMutexLocker lock(&mutex);
        const auto route = routes.constFind(path);
        return route != routes.cend() ? *route : fallback;
    }

    void record(const Request &request)
    {
        const QMutexLocker lock(&mutex);
        requests.append(request);
    }
};

namespace {

using Request = LoopbackServer::Request;
using Response = LoopbackServer::Response;

// How much may wait in a socket's write buffer before the body waits for it to drain, and the size of
// one write at full speed: a 26 MB body never sits in memory twice.
constexpr qint64 writeBufferLimit = 1024 * 1024;
constexpr qint64 writePiece = 256 * 1024;

bool sameName(QByteArrayView a, QByteArrayView b)
{
    return a.compare(b, Qt::CaseInsensitive) == 0;
}

bool hasHeader(const QList<LoopbackServer::Header> &headers, QByteArrayView name)
{
    return std::any_of(headers.cbegin(), headers.cend(),
        [name](const LoopbackServer::Header &header) { return sameName(header.first, name); });
}

// One accepted connection: reads requests, answers them one after another as scripted.
class Connection : public QObject
{
public:
    Connection(
        QTcpSocket *socket, int serial, std::shared_ptr<LoopbackServer::Shared> shared, QObject *parent)
        : QObject(parent)
        , m_socket(socket)
        , m_serial(serial)
        , m_shared(std::move(shared))
    {
        m_socket->setParent(this);
        ++m_shared->accepted;
        ++m_shared->open;
        m_timer.setSingleShot(true);
        connect(&m_timer, &QTimer::timeout, this, &Connection::timerFired);
        connect(m_socket, &QTcpSocket::readyRead, this, &Connection::readIncoming);
        connect(m_socket, &QTcpSocket::bytesWritten, this, &Connection::drained);
        connect(m_socket, &QTcpSocket::disconnected, this, &Connection::closed);
        readIncoming();
    }

    ~Connection() override
    {
        m_socket->disconnect(this);
        if (!m_closed)
            --m_shared->open;
    }

private:
    enum class Phase
    {
        reading,
        delayingHead,
        delayingFinal,
        sendingEndlessHead,
        sendingBody,
        stalled,
        silent,
        closing
    };

    void readIncoming()
    {
        m_input.append(m_socket->readAll());
        serveBuffered();
    }

    void serveBuffered()
    {
        while (m_phase == Phase::reading) {
            std::optional<Request> request = takeRequest();
            if (!request)
                return;
            answer(*request);
        }
    }

    // The next complete request in the input, removed from it; nothing while it is still incomplete.
    std::optional<Request> takeRequest()
    {
        while (m_input.startsWith("\r\n"))
            m_input.remove(0, 2);
        const qsizetype headEnd = m_input.indexOf("\r\n\r\n");
        if (headEnd < 0)
            return std::nullopt;
        const QList<QByteArray> lines = m_input.left(headEnd).split('\n');

        Request request;
        request.connection = m_serial;
        const QList<QByteArray> requestLine = lines.first().trimmed().split(' ');
        request.method = requestLine.value(0);
        request.target = requestLine.value(1);
        const qsizetype queryStart = request.target.indexOf('?');
        const QByteArray rawPath = queryStart < 0 ? request.target : request.target.left(queryStart);
        request.path = QUrl::fromPercentEncoding(rawPath);
        if (queryStart >= 0)
            request.query = QString::fromLatin1(request.target.mid(queryStart + 1));
        for (const QByteArray &line : lines.mid(1)) {
            const qsizetype colon = line.indexOf(':');
            if (colon > 0) // the value's trimming takes the line's carriage return too
                request.headers.append({line.left(colon), line.mid(colon + 1).trimmed()});
        }
        m_input.remove(0, headEnd + 4);
        m_clientCloses = request.header("Connection").toLower().contains("close");
        return request;
    }

    void answer(const Request &request)
    {
        m_shared->record(request);
        m_response = m_shared->handlerFor(request.path)(request);
        m_headOnly = request.method == "HEAD";
        m_interimSent = 0;
        m_sent = 0;
        m_chunkLeft = 0;

        if (m_response.hangUp) {
            m_phase = Phase::closing;
            m_socket->disconnectFromHost();
        } else if (m_response.neverAnswer) {
            m_phase = Phase::silent;
        } else if (m_response.headDelay.count() > 0) {
            m_phase = Phase::delayingHead;
            m_timer.start(m_response.headDelay);
        } else {
            sendHead();
        }
    }

    qint64 bodyTotal() const { return m_headOnly ? 0 : m_response.bodySize(); }

    bool closesAfterBody() const
    {
        return m_response.closeAfterBody || m_clientCloses
            || m_response.framing == Response::Framing::closeDelimited
            || (m_response.framing == Response::Framing::contentLength && m_response.declaredLength
                && *m_response.declaredLength != m_response.bodySize());
    }

    // The reason phrase is optional, and no client reads it: it is left empty.
    static QByteArray statusLine(int status) { return "HTTP/1.1 " + QByteArray::number(status) + " \r\n"; }

    // The next interim answer, each `finalDelay` after the one before.
    void sendInterim()
    {
        const Response::Interim &interim = m_response.interim.at(m_interimSent++);
        QByteArray head = statusLine(interim.status);
        for (const LoopbackServer::Header &header : interim.headers)
            head += header.first + ": " + header.second + "\r\n";
        m_socket->write(head + "\r\n");
        m_phase = Phase::delayingFinal;
        m_timer.start(m_response.finalDelay);
    }

    void sendHead()
    {
        const Response &response = m_response;
        if (m_interimSent < response.interim.size()) {
            sendInterim();
            return;
        }
        QByteArray head = statusLine(response.status);
        if (response.endlessHead) {
            m_socket->write(head);
            m_phase = Phase::sendingEndlessHead;
            pumpHead();
            return;
        }
        for (const LoopbackServer::Header &header : response.headers)
            head += header.first + ": " + header.second + "\r\n";
        switch (response.framing) {
        case Response::Framing::chunked:
            if (!hasHeader(response.headers, "Transfer-Encoding"))
                head += "Transfer-Encoding: chunked\r\n";
            break;
        case Response::Framing::contentLength: {
            const bool bodiless = response.status == 204 || response.status == 304 || response.status < 200;
            if (!hasHeader(response.headers, "Content-Length") && !(bodiless && response.bodySize() == 0))
                head += "Content-Length: "
                    + QByteArray::number(response.declaredLength.value_or(response.bodySize())) + "\r\n";
            break;
        }
        case Response::Framing::closeDelimited:
            break;
        }
        if ((response.closeAfterBody || response.framing == Response::Framing::closeDelimited)
            && !hasHeader(response.headers, "Connection"))
            head += "Connection: close\r\n";
        head += "\r\n";
        m_socket->write(head);
        m_phase = Phase::sendingBody;
        pump();
    }

    // Header lines without end, as fast as the socket drains.
    void pumpHead()
    {
        static const QByteArray lines = QByteArray("X-Filler: " + QByteArray(1000, 'a') + "\r\n").repeated(64);
        while (m_phase == Phase::sendingEndlessHead && m_socket->state() == QAbstractSocket::ConnectedState
            && m_socket->bytesToWrite() < writeBufferLimit) {
            m_socket->write(lines);
            m_shared->headBytesSent += lines.size();
        }
    }

    bool trickles() const { return m_response.bytesPerInterval > 0; }

    void pump()
    {
        if (m_phase != Phase::sendingBody || m_socket->state() != QAbstractSocket::ConnectedState)
            return;
        const qint64 total = bodyTotal();
        const qint64 limit = m_response.stallAfter ? std::min(total, *m_response.stallAfter) : total;
        if (trickles()) {
            if (m_sent < limit)
                writeBody(std::min(m_response.bytesPerInterval, limit - m_sent));
            if (m_sent < limit) {
                m_timer.start(m_response.interval);
                return;
            }
        } else {
            while (m_sent < limit && m_socket->bytesToWrite() < writeBufferLimit)
                writeBody(std::min(writePiece, limit - m_sent));
            if (m_sent < limit)
                return; // resumed by bytesWritten
        }
        if (limit < total && m_response.closeAfterBody) {
            m_phase = Phase::closing; // a body cut short
            m_socket->disconnectFromHost();
            return;
        }
        if (limit < total) {
            m_phase = Phase::stalled;
            return;
        }
        finishBody();
    }

    // Writes the next `count` body bytes, inside chunk framing when the answer is chunked.
    void writeBody(qint64 count)
    {
        const bool chunked = m_response.framing == Response::Framing::chunked;
        const qint64 total = bodyTotal();
        while (count > 0) {
            if (chunked && m_chunkLeft == 0) {
                m_chunkLeft = std::min(std::max<qint64>(m_response.chunkSize, 1), total - m_sent);
                m_socket->write(QByteArray::number(m_chunkLeft, 16) + "\r\n");
            }
            const qint64 take = chunked ? std::min(count, m_chunkLeft) : count;
            if (m_response.generator) {
                const QByteArray piece = m_response.generator(m_sent, take);
                Q_ASSERT(piece.size() == take);
                m_socket->write(piece);
            } else {
                m_socket->write(m_response.body.constData() + m_sent, take);
            }
            m_sent += take;
            count -= take;
            m_shared->bodyBytesSent += take;
            if (chunked) {
                m_chunkLeft -= take;
                if (m_chunkLeft == 0)
                    m_socket->write("\r\n");
            }
        }
    }

    void finishBody()
    {
        if (m_response.framing == Response::Framing::chunked && !m_headOnly)
            m_socket->write("0\r\n\r\n");
        if (closesAfterBody()) {
            m_phase = Phase::closing;
            m_socket->disconnectFromHost();
            return;
        }
        m_phase = Phase::reading;
        m_response = Response();
        // The next request may already be waiting (pipelined); serve it from the event loop.
        QMetaObject::invokeMethod(this, &Connection::serveBuffered, Qt::QueuedConnection);
    }

    void drained()
    {
        if (m_phase == Phase::sendingEndlessHead)
            pumpHead();
        else if (!trickles())
            pump();
    }

    void timerFired()
    {
        if (m_phase == Phase::delayingHead || m_phase == Phase::delayingFinal)
            sendHead();
        else
            pump();
    }

    void closed()
    {
        m_phase = Phase::closing;
        m_timer.stop();
        if (!m_closed) {
            m_closed = true;
            --m_shared->open;
        }
        deleteLater();
    }

    QTcpSocket *m_socket;
    const int m_serial;
    std::shared_ptr<LoopbackServer::Shared> m_shared;
    QByteArray m_input;
    Phase m_phase = Phase::reading;
    Response m_response;
    bool m_headOnly = false;
    bool m_clientCloses = false;
    bool m_closed = false;
    qsizetype m_interimSent = 0;
    qint64 m_sent = 0;
    qint64 m_chunkLeft = 0;
    QTimer m_timer;
};

} // namespace

// The server's own thread: listens, accepts, and owns every connection until it stops.
class LoopbackServer::Thread : public QThread
{
public:
    explicit Thread(std::shared_ptr<Shared> shared)
        : m_shared(std::move(shared))
    {
    }

    std::future<quint16> listening() { return m_listening.get_future(); }

protected:
    void run() override
    {
        QTcpServer server;
        if (!server.listen(QHostAddress::LocalHost, 0)) {
            m_listening.set_value(0);
            return;
        }
        QObject connections; // destroyed first: closes every connection before the server goes
        int serial = 0;
        QObject::connect(&server, &QTcpServer::newConnection, &server, [&] {
            while (QTcpSocket *socket = server.nextPendingConnection())
                new Connection(socket, ++serial, m_shared, &connections);
        });
        m_listening.set_value(server.serverPort());
        exec();
    }

private:
    std::shared_ptr<Shared> m_shared;
    std::promise<quint16> m_listening;
};

// Request

QByteArray LoopbackServer::Request::header(QByteArrayView name) const
{
    return headerValues(name).value(0);
}

QList<QByteArray> LoopbackServer::Request::headerValues(QByteArrayView name) const
{
    QList<QByteArray> values;
    for (const Header &header : headers) {
        if (sameName(header.first, name))
            values.append(header.second);
    }
    return values;
}

bool LoopbackServer::Request::hasHeader(QByteArrayView name) const
{
    return ::hasHeader(headers, name);
}

// Response

LoopbackServer::Response LoopbackServer::Response::ok(QByteArray body, QByteArray contentType)
{
    Response response;
    response.body = std::move(body);
    response.headers.append({QByteArrayLiteral("Content-Type"), std::move(contentType)});
    return response;
}

LoopbackServer::Response LoopbackServer::Response::withStatus(int status, QByteArray body)
{
    Response response;
    response.status = status;
    response.body = std::move(body);
    return response;
}

LoopbackServer::Response LoopbackServer::Response::redirect(int status, QByteArray location)
{
    Response response;
    response.status = status;
    response.headers.append({QByteArrayLiteral("Location"), std::move(location)});
    return response;
}

LoopbackServer::Response LoopbackServer::Response::generated(qint64 size, Generator generator)
{
    Response response;
    response.generator = std::move(generator);
    response.generatedSize = size;
    return response;
}

LoopbackServer::Response LoopbackServer::Response::silence()
{
    Response response;
    response.neverAnswer = true;
    return response;
}

LoopbackServer::Response LoopbackServer::Response::hangingUp()
{
    Response response;
    response.hangUp = true;
    return response;
}

LoopbackServer::Response LoopbackServer::Response::endlessHeaders()
{
    Response response;
    response.endlessHead = true;
    return response;
}

LoopbackServer::Response &LoopbackServer::Response::afterInterim(int status, QList<Header> headers)
{
    interim.append({status, std::move(headers)});
    return *this;
}

LoopbackServer::Response &LoopbackServer::Response::withHeader(QByteArray name, QByteArray value)
{
    headers.append({std::move(name), std::move(value)});
    return *this;
}

LoopbackServer::Response &LoopbackServer::Response::chunked(qint64 size)
{
    framing = Framing::chunked;
    chunkSize = std::max<qint64>(size, 1);
    return *this;
}

LoopbackServer::Response &LoopbackServer::Response::withoutLength()
{
    framing = Framing::closeDelimited;
    return *this;
}

LoopbackServer::Response &LoopbackServer::Response::lyingLength(qint64 declared)
{
    framing = Framing::contentLength;
    declaredLength = declared;
    return *this;
}

LoopbackServer::Response &LoopbackServer::Response::delayedBy(std::chrono::milliseconds delay)
{
    headDelay = delay;
    return *this;
}

LoopbackServer::Response &LoopbackServer::Response::trickled(qint64 bytes, std::chrono::milliseconds every)
{
    bytesPerInterval = bytes;
    interval = every;
    return *this;
}

LoopbackServer::Response &LoopbackServer::Response::stallingAfter(qint64 bytes)
{
    stallAfter = bytes;
    return *this;
}

LoopbackServer::Response &LoopbackServer::Response::closing()
{
    closeAfterBody = true;
    return *this;
}

// LoopbackServer

LoopbackServer::LoopbackServer()
    : m_shared(std::make_shared<Shared>())
    , m_thread(std::make_unique<Thread>(m_shared))
{
    std::future<quint16> listening = m_thread->listening();
    m_thread->start();
    m_port = listening.get();
    if (m_port == 0)
        qFatal("LoopbackServer: cannot listen on 127.0.0.1");
}

LoopbackServer::~LoopbackServer()
{
    m_thread->quit();
    m_thread->wait();
}

quint16 LoopbackServer::closedPort()
{
    QTcpServer probe;
    if (!probe.listen(QHostAddress::LocalHost, 0))
        return 0;
    return probe.serverPort(); // closed again as the probe goes
}

quint16 LoopbackServer::port() const
{
    return m_port;
}

QUrl LoopbackServer::url(const QString &pathAndQuery) const
{
    return QUrl(u"http://127.0.0.1:%1"_s.arg(m_port) + pathAndQuery);
}

void LoopbackServer::route(const QString &path, const Response &response)
{
    route(path, [response](const Request &) { return response; });
}

void LoopbackServer::route(const QString &path, Handler handler)
{
    const QMutexLocker lock(&m_shared->mutex);
    m_shared->routes.insert(path, std::move(handler));
}

void LoopbackServer::redirect(const QString &path, int status, const QByteArray &location)
{
    route(path, Response::redirect(status, location));
}

void LoopbackServer::setFallback(Handler handler)
{
    const QMutexLocker lock(&m_shared->mutex);
    m_shared->fallback = std::move(handler);
}

QList<LoopbackServer::Request> LoopbackServer::requests() const
{
    const QMutexLocker lock(&m_shared->mutex);
    return m_shared->requests;
}

LoopbackServer::Request LoopbackServer::lastRequest() const
{
    const QMutexLocker lock(&m_shared->mutex);
    return m_shared->requests.isEmpty() ? Request() : m_shared->requests.constLast();
}

int LoopbackServer::requestCount() const
{
    const QMutexLocker lock(&m_shared->mutex);
    return int(m_shared->requests.size());
}

int LoopbackServer::requestCount(const QString &path) const
{
    const QMutexLocker lock(&m_shared->mutex);
    return int(std::count_if(m_shared->requests.cbegin(), m_shared->requests.cend(),
        [&path](const Request &request) { return request.path == path; }));
}

int LoopbackServer::connectionsAccepted() const
{
    return m_shared->accepted;
}

int LoopbackServer::connectionsOpen() const
{
    return m_shared->open;
}

qint64 LoopbackServer::bodyBytesSent() const
{
    return m_shared->bodyBytesSent;
}

qint64 LoopbackServer::headBytesSent() const
{
    return m_shared->headBytesSent;
}
