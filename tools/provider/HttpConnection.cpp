#include "HttpConnection.h"
#include "ProviderCounters.h"

#include <QScopeGuard>
#include <QTcpSocket>

#include <algorithm>
#include <chrono>
#include <utility>

using namespace std::chrono_literals;

namespace {

// The socket is topped up while it holds less than this.
constexpr qint64 socketHighWater = 256 * 1024;
constexpr qint64 fixedChunk = 64 * 1024;
// Whole MPEG-TS packets.
constexpr qint64 packet = 188;
constexpr qint64 liveChunk = 348 * packet;
constexpr auto idleTimeout = 30s;
constexpr auto paceInterval = 50ms;

QByteArray reason(int status)
{
    switch (status) {
    case 200:
        return "OK";
    case 206:
        return "Partial Content";
    case 400:
        return "Bad Request";
    case 401:
        return "Unauthorized";
    case 403:
        return "Forbidden";
    case 404:
        return "Not Found";
    case 405:
        return "Method Not Allowed";
    case 416:
        return "Range Not Satisfiable";
    case 431:
        return "Request Header Fields Too Large";
    case 503:
        return "Service Unavailable";
    default:
        return "Unknown";
    }
}

} // namespace

HttpConnection::HttpConnection(
    QTcpSocket *socket, Handler handler, ProviderCounters &counters, QObject *parent)
    : QObject(parent)
    , m_socket(socket)
    , m_handler(std::move(handler))
    , m_counters(counters)
{
    socket->setParent(this);
    ++m_counters.connections;
    m_pace.setInterval(paceInterval);
    m_idle.setSingleShot(true);
    m_idle.setInterval(idleTimeout);
    m_delay.setSingleShot(true);
    connect(&m_delay, &QTimer::timeout, this, &HttpConnection::sendDelayed);
    connect(&m_pace, &QTimer::timeout, this, &HttpConnection::sendLive);
    connect(&m_idle, &QTimer::timeout, this, &HttpConnection::close);
    connect(socket, &QTcpSocket::readyRead, this, &HttpConnection::readIncoming);
    connect(socket, &QTcpSocket::bytesWritten, this, [this] {
        if (m_state == State::sending)
            sendFixed();
        else if (m_state == State::streaming)
            sendLive();
    });
    connect(socket, &QTcpSocket::disconnected, this, &HttpConnection::close);
    connect(socket, &QTcpSocket::errorOccurred, this, [this](QAbstractSocket::SocketError) {
        if (m_socket && m_socket->state() != QAbstractSocket::ConnectedState)
            close();
    });
    m_idle.start();
    readIncoming();
}

HttpConnection::~HttpConnection()
{
    setStreaming(false);
    setAnsweringImage(false);
    --m_counters.connections;
    if (m_socket) {
        m_socket->disconnect(this);
        m_socket->abort();
    }
}

void HttpConnection::readIncoming()
{
    if (!m_socket || m_closed)
        return;
    m_incoming += m_socket->readAll();
    if (m_state == State::idle)
        handleBuffered();
}

void HttpConnection::handleBuffered()
{
    if (m_handling)
        return; // an answer finished inside the loop below: the loop takes the next request
    m_handling = true;
    const auto done = qScopeGuard([this] { m_handling = false; });
    while (m_state == State::idle && !m_closed) {
        HttpRequest request;
        switch (HttpRequest::take(m_incoming, request)) {
        case HttpRequest::Parse::incomplete:
            return;
        case HttpRequest::Parse::malformed:
            m_incoming.clear();
            respond(request, HttpReply::text(400, "Bad Request\n"), false);
            return;
        case HttpRequest::Parse::tooLarge:
            m_incoming.clear();
            respond(request, HttpReply::text(431, "Request Header Fields Too Large\n"), false);
            return;
        case HttpRequest::Parse::complete:
            ++m_counters.requests;
            m_idle.stop();
            respond(request, m_handler(request), request.keepAlive());
            break;
        }
    }
}

void HttpConnection::respond(const HttpRequest &request, HttpReply reply, bool keepAlive)
{
    setAnsweringImage(reply.image);
    if (reply.delayMs > 0) {
        m_state = State::delayed;
        m_delayedHeadOnly = request.method == "HEAD";
        m_delayedKeepAlive = keepAlive;
        m_reply = std::move(reply);
        m_delay.start(m_reply.delayMs);
        return;
    }
    send(request.method == "HEAD", std::move(reply), keepAlive);
}

void HttpConnection::sendDelayed()
{
    if (!m_socket || m_state != State::delayed)
        return;
    HttpReply reply = std::exchange(m_reply, {});
    reply.delayMs = 0;
    send(m_delayedHeadOnly, std::move(reply), m_delayedKeepAlive);
}

void HttpConnection::send(bool headOnly, HttpReply reply, bool keepAlive)
{
    const bool fixed = reply.kind == HttpReply::Body::fixed;
    m_keepAlive = keepAlive && fixed;
    QByteArray head = "HTTP/1.1 " + QByteArray::number(reply.status) + ' ' + reason(reply.status) + "\r\n";
    head += "Server: QuenvoProvider\r\n";
    for (const auto &[name, value] : reply.headers)
        head += name + ": " + value + "\r\n";
    if (fixed || !reply.loop)
        head += "Content-Length: " + QByteArray::number(reply.bodyLength()) + "\r\n";
    head += m_keepAlive ? "Connection: keep-alive\r\n\r\n" : "Connection: close\r\n\r\n";
    m_socket->write(head);

    m_reply = std::move(reply);
    m_sent = 0;
    if (headOnly) {
        finishAnswer();
        return;
    }
    switch (m_reply.kind) {
    case HttpReply::Body::fixed:
        m_state = State::sending;
        sendFixed();
        break;
    case HttpReply::Body::live:
        m_state = State::streaming;
        setStreaming(true);
        m_clock.start();
        m_pace.start();
        sendLive();
        break;
    case HttpReply::Body::stalled:
        m_state = State::stalled;
        setStreaming(true);
        break;
    }
}

void HttpConnection::sendFixed()
{
    const qint64 length = m_reply.bodyLength();
    while (m_socket && m_sent < length && m_socket->bytesToWrite() < socketHighWater) {
        const qint64 chunk = std::min(fixedChunk, length - m_sent);
        m_socket->write(m_reply.body.constData() + m_reply.offset + m_sent, chunk);
        m_sent += chunk;
    }
    if (m_sent >= length)
        finishAnswer();
}

void HttpConnection::sendLive()
{
    if (!m_socket || m_state != State::streaming)
        return;
    const qint64 size = m_reply.body.size();
    if (size == 0) {
        finishAnswer();
        return;
    }
    const double seconds = double(m_clock.elapsed()) / 1000.0;
    qint64 due = m_reply.burstBytes + qint64(m_reply.bytesPerSecond * seconds);
    due -= due % packet;
    if (!m_reply.loop)
        due = std::min(due, size);
    while (m_sent < due && m_socket->bytesToWrite() < socketHighWater) {
        const qint64 position = m_sent % size;
        const qint64 chunk = std::min({liveChunk, due - m_sent, size - position});
        m_socket->write(m_reply.body.constData() + position, chunk);
        m_sent += chunk;
    }
    if (!m_reply.loop && m_sent >= size)
        finishAnswer();
}

void HttpConnection::finishAnswer()
{
    m_pace.stop();
    setStreaming(false);
    setAnsweringImage(false);
    m_reply = {};
    if (!m_keepAlive) {
        closeWhenWritten();
        return;
    }
    m_state = State::idle;
    m_idle.start();
    handleBuffered();
}

void HttpConnection::closeWhenWritten()
{
    m_state = State::closing;
    m_idle.start(); // a client that stops reading is dropped after a while
    if (m_socket)
        m_socket->disconnectFromHost(); // sends what is buffered first, then emits disconnected
}

void HttpConnection::setStreaming(bool streaming)
{
    if (streaming == m_counted)
        return;
    m_counted = streaming;
    if (streaming)
        ++m_counters.streams;
    else
        --m_counters.streams;
}

void HttpConnection::setAnsweringImage(bool answering)
{
    if (answering == m_answeringImage)
        return;
    m_answeringImage = answering;
    if (answering)
        m_counters.imageAnswerStarted();
    else
        m_counters.imageAnswerEnded();
}

void HttpConnection::close()
{
    if (m_closed)
        return;
    m_closed = true;
    m_pace.stop();
    m_idle.stop();
    m_delay.stop();
    setStreaming(false);
    setAnsweringImage(false);
    if (m_socket) {
        m_socket->disconnect(this);
        m_socket->abort();
    }
    deleteLater();
}
