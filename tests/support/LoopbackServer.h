#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>
#include <QUrl>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

// An HTTP/1.1 server on 127.0.0.1 for the tests: scripted answers per path, every request recorded.
// It serves from its own thread, so it keeps answering while the test's thread waits in a nested event
// loop or is busy; every member function may be called from any thread.
//
// Requests are matched on their decoded path (the query is ignored for matching but recorded); a path
// without a route gets the fallback handler, by default a 404. Connections are kept alive across
// requests unless the answer or the client says otherwise, and requests may arrive in any number of
// pieces. Requests carry no body: the clients under test only ever send GET and HEAD.
class LoopbackServer
{
public:
    using Header = std::pair<QByteArray, QByteArray>;

    struct Request
    {
        QByteArray method;
        QByteArray target; // as sent: path and query, still percent-encoded
        QString path; // decoded
        QString query; // as sent, without the '?'
        QList<Header> headers; // in the order received, names as sent
        int connection = 0; // which connection it came on: 1 for the first one accepted, and so on

        // Header names are compared case-insensitively. `header` gives the first value, or a null
        // QByteArray when the header is absent.
        QByteArray header(QByteArrayView name) const;
        QList<QByteArray> headerValues(QByteArrayView name) const;
        bool hasHeader(QByteArrayView name) const;
    };

    // A scripted answer. Build it with the static functions and adjust it with the chained setters:
    //     LoopbackServer::Response::ok(body).withHeader("Set-Cookie", "a=1").chunked(1000)
    struct Response
    {
        enum class Framing
        {
            contentLength, // "Content-Length" with the body's size, or `declaredLength` when set
            closeDelimited, // no length: the body ends when the server closes the connection
            chunked, // "Transfer-Encoding: chunked" in chunks of `chunkSize` bytes
        };
        // Produces `length` bytes of a generated body starting at `offset`; runs on the server thread.
        using Generator = std::function<QByteArray(qint64 offset, qint64 length)>;

        // An interim (1xx) answer sent before the final status line.
        struct Interim
        {
            int status = 103;
            QList<Header> headers;
        };

        int status = 200;
        QList<Interim> interim; // sent first, in order
        // After each interim answer, as a server still preparing its answer; without it the next answer
        // travels with the interim one.
        std::chrono::milliseconds finalDelay {100};
        QList<Header> headers; // sent as given, in order (several with one name are fine)
        QByteArray body;
        Generator generator; // when set, the body is `generatedSize` bytes taken from it instead
        qint64 generatedSize = 0;

        Framing framing = Framing::contentLength;
        std::optional<qint64> declaredLength; // a Content-Length that differs from the real size
        qint64 chunkSize = 16 * 1024;

        std::chrono::milliseconds headDelay {0}; // wait this long before the status line
        qint64 bytesPerInterval = 0; // a slow body: this many bytes every `interval` (0: full speed)
        std::chrono::milliseconds interval {0};
        // Send this many body bytes, then nothing: the connection stays open, or closes with
        // `closeAfterBody` (a body cut short).
        std::optional<qint64> stallAfter;
        bool neverAnswer = false; // read the request and send nothing, connection left open
        bool hangUp = false; // close the connection without any answer
        bool closeAfterBody = false; // "Connection: close" and close once the body (or its part) is sent
        bool endlessHead = false; // the status line, then header lines as fast as the client takes them, forever

        static Response ok(QByteArray body = {}, QByteArray contentType = QByteArrayLiteral("text/plain"));
        static Response withStatus(int status, QByteArray body = {});
        static Response redirect(int status, QByteArray location);
        static Response generated(qint64 size, Generator generator);
        static Response silence();
        static Response hangingUp();
        static Response endlessHeaders();

        Response &withHeader(QByteArray name, QByteArray value);
        Response &afterInterim(int status, QList<Header> headers = {});
        Response &chunked(qint64 size);
        Response &withoutLength();
        Response &lyingLength(qint64 declared);
        Response &delayedBy(std::chrono::milliseconds delay);
        Response &trickled(qint64 bytes, std::chrono::milliseconds every);
        Response &stallingAfter(qint64 bytes);
        Response &closing();

        qint64 bodySize() const { return generator ? generatedSize : body.size(); }
    };

    using Handler = std::function<Response(const Request &)>;

    // Listens on 127.0.0.1 at a port chosen by the system from construction on; a server that cannot
    // listen stops the test with a fatal message.
    LoopbackServer();
    ~LoopbackServer(); // closes every connection and stops the thread
    LoopbackServer(const LoopbackServer &) = delete;
    LoopbackServer &operator=(const LoopbackServer &) = delete;

    quint16 port() const;
    // A port on 127.0.0.1 with nothing listening on it (0 if none could be had): a connection there
    // is refused.
    static quint16 closedPort();
    // http://127.0.0.1:<port><pathAndQuery>
    QUrl url(const QString &pathAndQuery = QStringLiteral("/")) const;

    void route(const QString &path, const Response &response);
    // The handler runs on the server's thread, once per request, and must be thread-safe.
    void route(const QString &path, Handler handler);
    void redirect(const QString &path, int status, const QByteArray &location);
    void setFallback(Handler handler);

    QList<Request> requests() const;
    Request lastRequest() const; // a default Request when none arrived
    int requestCount() const;
    int requestCount(const QString &path) const;

    int connectionsAccepted() const;
    int connectionsOpen() const;
    qint64 bodyBytesSent() const; // body bytes handed to the sockets, every response together
    qint64 headBytesSent() const; // bytes of endless heads handed to the sockets

    struct Shared; // what the server thread and the callers share, behind a mutex

private:
    class Thread;
    std::shared_ptr<Shared> m_shared;
    std::unique_ptr<Thread> m_thread;
    quint16 m_port = 0;
};
