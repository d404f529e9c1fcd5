#pragma once

#include "HttpReply.h"
#include "HttpRequest.h"

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QTimer>

#include <functional>

class QTcpSocket;
struct ProviderCounters;

// One client connection: reads request heads (pipelined ones wait their turn), asks the handler for
// each answer and sends it without holding more than a few hundred kilobytes in the socket, so many
// clients can download and stream at once. Live bodies are paced against a clock; a client that
// leaves mid-answer simply ends it. Lives in the server's thread and deletes itself when closed.
class HttpConnection : public QObject
{
    Q_OBJECT

public:
    using Handler = std::function<HttpReply(const HttpRequest &)>;

    HttpConnection(QTcpSocket *socket, Handler handler, ProviderCounters &counters, QObject *parent);
    ~HttpConnection() override;

private:
    enum class State
    {
        idle,
        delayed,
        sending,
        streaming,
        stalled,
        closing
    };

    void readIncoming();
    void handleBuffered();
    void respond(const HttpRequest &request, HttpReply reply, bool keepAlive);
    void send(bool headOnly, HttpReply reply, bool keepAlive);
    void sendDelayed();
    void setAnsweringImage(bool answering);
    void sendFixed();
    void sendLive();
    void finishAnswer();
    void closeWhenWritten();
    void setStreaming(bool streaming);
    void close();

    QPointer<QTcpSocket> m_socket;
    Handler m_handler;
    ProviderCounters &m_counters;
    QByteArray m_incoming;
    State m_state = State::idle;
    bool m_keepAlive = true;
    bool m_counted = false;
    bool m_closed = false;
    bool m_handling = false;
    bool m_answeringImage = false;
    bool m_delayedHeadOnly = false;
    bool m_delayedKeepAlive = false;

    HttpReply m_reply;
    qint64 m_sent = 0;
    QElapsedTimer m_clock;
    QTimer m_pace;
    QTimer m_idle;
    QTimer m_delay;
};
