#include "LoopbackServer.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSignalSpy>
#include <QTcpSocket>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Response = LoopbackServer::Response;

Q_DECLARE_METATYPE(LoopbackServer::Response)

namespace {

// Everything the server writes on a connection it closes after one answer.
QByteArray exchange(LoopbackServer &server, const QByteArray &request)
{
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, server.port());
    if (!socket.waitForConnected(5000))
        return "not connected";
    socket.write(request);
    // The server has its own thread: blocking this one does not stop it.
    socket.waitForDisconnected(5000);
    return socket.readAll();
}

QByteArray digits(qint64 offset, qint64 length)
{
    QByteArray piece;
    for (qint64 i = offset; i < offset + length; ++i)
        piece.append(char('0' + i % 10));
    return piece;
}

} // namespace

class TestLoopbackServer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void answersOnTheWire_data()
    {
        QTest::addColumn<Response>("response");
        QTest::addColumn<QByteArray>("method");
        QTest::addColumn<QByteArray>("expected");

        QTest::newRow("content length") << Response::ok("hello") << QByteArray("GET")
                                        << QByteArray("HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\n"
                                                      "Content-Length: 5\r\n\r\nhello");
        QTest::newRow("chunked") << Response::ok("hello").chunked(2) << QByteArray("GET")
                                 << QByteArray("HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\n"
                                               "Transfer-Encoding: chunked\r\n\r\n"
                                               "2\r\nhe\r\n2\r\nll\r\n1\r\no\r\n0\r\n\r\n");
        QTest::newRow("chunked, trickled across chunk boundaries")
            << Response::ok("hello").chunked(3).trickled(2, 1ms) << QByteArray("GET")
            << QByteArray("HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\n"
                          "Transfer-Encoding: chunked\r\n\r\n3\r\nhel\r\n2\r\nlo\r\n0\r\n\r\n");
        QTest::newRow("close-delimited") << Response::ok("hello").withoutLength() << QByteArray("GET")
                                         << QByteArray("HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\n"
                                                       "Connection: close\r\n\r\nhello");
        QTest::newRow("length lying high")
            << Response::withStatus(200, "hello").lyingLength(9) << QByteArray("GET")
            << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nhello");
        QTest::newRow("length lying low")
            << Response::withStatus(200, "hello").lyingLength(2) << QByteArray("GET")
            << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nhello");
        QTest::newRow("body cut short")
            << Response::withStatus(200, "hello").stallingAfter(3).closing() << QByteArray("GET")
            << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n"
                          "Connection: close\r\n\r\nhel");
        QTest::newRow("headers in order, repeated names, own reason")
            << Response::withStatus(299, "x")
                   .withReason("Fine")
                   .withHeader("Set-Cookie", "a=1; Path=/")
                   .withHeader("set-cookie", "b=2")
                   .withHeader("X-Mixed-Case", "V")
            << QByteArray("GET")
            << QByteArray("HTTP/1.1 299 Fine\r\nSet-Cookie: a=1; Path=/\r\nset-cookie: b=2\r\n"
                          "X-Mixed-Case: V\r\nContent-Length: 1\r\n\r\nx");
        QTest::newRow("redirect") << Response::redirect(307, "/next") << QByteArray("GET")
                                  << QByteArray("HTTP/1.1 307 Temporary Redirect\r\nLocation: /next\r\n"
                                                "Content-Length: 0\r\n\r\n");
        QTest::newRow("no content") << Response::withStatus(204) << QByteArray("GET")
                                    << QByteArray("HTTP/1.1 204 No Content\r\n\r\n");
        QTest::newRow("generated body") << Response::generated(12, digits).chunked(5) << QByteArray("GET")
                                        << QByteArray("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"
                                                      "5\r\n01234\r\n5\r\n56789\r\n2\r\n01\r\n0\r\n\r\n");
        QTest::newRow("delayed head") << Response::ok("hello").delayedBy(20ms) << QByteArray("GET")
                                      << QByteArray("HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\n"
                                                    "Content-Length: 5\r\n\r\nhello");
        QTest::newRow("HEAD gets the head only")
            << Response::ok("hello") << QByteArray("HEAD")
            << QByteArray("HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\n"
                          "Content-Length: 5\r\n\r\n");
        QTest::newRow("hang up") << Response::hangingUp() << QByteArray("GET") << QByteArray();
    }

    void answersOnTheWire()
    {
        QFETCH(Response, response);
        QFETCH(QByteArray, method);
        QFETCH(QByteArray, expected);

        LoopbackServer server;
        QVERIFY(server.start());
        server.route(u"/a"_s, response);
        QCOMPARE(exchange(server, method + " /a HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n"), expected);
        QCOMPARE(server.requestCount(u"/a"_s), 1);
    }

    void recordsRequestsArrivingInPieces()
    {
        LoopbackServer server;
        QVERIFY(server.start());
        server.route(u"/lists/tv m3u"_s, Response::ok("ok"));

        QTcpSocket socket;
        socket.connectToHost(QHostAddress::LocalHost, server.port());
        QVERIFY(socket.waitForConnected(5000));
        const QList<QByteArray> pieces = {
            "PO",
            "ST /lists/tv%20m3u?user=a%40b&x=1 HT",
            "TP/1.1\r\nHost: 127.0.0.1\r\nX-Mixed-Case: V1\r\n",
            "x-mixed-case:  V2 \r\nContent-Length: 11\r\n",
            "\r\nhello",
            " world",
        };
        for (const QByteArray &piece : pieces) {
            socket.write(piece);
            QVERIFY(socket.waitForBytesWritten(5000));
        }
        QByteArray answer = socket.readAll();
        while (!answer.endsWith("\r\n\r\nok") && socket.waitForReadyRead(5000))
            answer += socket.readAll();
        QVERIFY2(answer.startsWith("HTTP/1.1 200 OK\r\n"), answer.constData());

        const LoopbackServer::Request request = server.lastRequest();
        QCOMPARE(request.method, "POST");
        QCOMPARE(request.target, "/lists/tv%20m3u?user=a%40b&x=1");
        QCOMPARE(request.path, u"/lists/tv m3u"_s);
        QCOMPARE(request.query, u"user=a%40b&x=1"_s);
        QCOMPARE(request.body, "hello world");
        QCOMPARE(request.headers.at(1).first, "X-Mixed-Case");
        QCOMPARE(request.headers.at(2).first, "x-mixed-case");
        QCOMPARE(request.header("X-MIXED-CASE"), "V1");
        QCOMPARE(request.headerValues("x-Mixed-case"), (QList<QByteArray> {"V1", "V2"}));
        QVERIFY(request.hasHeader("content-length"));
        QVERIFY(!request.hasHeader("Cookie"));
        QVERIFY(request.header("Cookie").isNull());
        QCOMPARE(server.requestCount(u"/lists/tv m3u"_s), 1);
        QCOMPARE(server.requestCount(u"/lists/tv%20m3u"_s), 0);
    }

    void keepsConnectionsAlive()
    {
        LoopbackServer server;
        QVERIFY(server.start());
        server.route(u"/one"_s, Response::ok("1").chunked(1));
        server.route(u"/two"_s, Response::ok("22"));

        QNetworkAccessManager manager;
        for (const QString &path : {u"/one"_s, u"/two"_s, u"/one"_s}) {
            std::unique_ptr<QNetworkReply> reply(manager.get(QNetworkRequest(server.url(path))));
            QSignalSpy finished(reply.get(), &QNetworkReply::finished);
            QVERIFY(finished.wait(5000));
            QCOMPARE(reply->error(), QNetworkReply::NoError);
        }
        const QList<LoopbackServer::Request> requests = server.requests();
        QCOMPARE(requests.size(), 3);
        for (const LoopbackServer::Request &request : requests)
            QCOMPARE(request.connection, 1);
        QCOMPARE(server.connectionsAccepted(), 1);
        QCOMPARE(server.requestCount(), 3);
        QCOMPARE(server.requestCount(u"/one"_s), 2);

        server.clearRequests();
        QCOMPARE(server.requestCount(), 0);
        QCOMPARE(server.lastRequest().method, QByteArray());
    }

    void answersPipelinedRequestsInOrder()
    {
        LoopbackServer server;
        QVERIFY(server.start());
        server.route(u"/a"_s, Response::ok("A").delayedBy(20ms));
        server.route(u"/b"_s, Response::ok("B"));
        const QByteArray wire = exchange(server,
            "GET /a HTTP/1.1\r\nHost: x\r\n\r\n"
            "GET /b HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n");
        QCOMPARE(wire,
            "HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\nContent-Length: 1\r\n\r\nA"
            "HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\nContent-Length: 1\r\n\r\nB");
    }

    void callbacksAndFallback()
    {
        LoopbackServer server;
        QVERIFY(server.start());
        auto served = std::make_shared<std::atomic<int>>(0);
        server.route(u"/count"_s, [served](const LoopbackServer::Request &request) {
            return Response::ok(QByteArray::number(++*served) + ' ' + request.query.toUtf8());
        });
        server.setFallback([](const LoopbackServer::Request &request) {
            return Response::withStatus(410, "gone: " + request.path.toUtf8());
        });

        QCOMPARE(exchange(server, "GET /count?a=1 HTTP/1.1\r\nConnection: close\r\n\r\n").split('\n').last(),
            "1 a=1");
        QCOMPARE(
            exchange(server, "GET /count?b HTTP/1.1\r\nConnection: close\r\n\r\n").split('\n').last(), "2 b");
        QCOMPARE(exchange(server, "GET /elsewhere HTTP/1.1\r\nConnection: close\r\n\r\n"),
            "HTTP/1.1 410 Gone\r\nContent-Length: 16\r\n\r\ngone: /elsewhere");
        QCOMPARE(server.requestCount(u"/count"_s), 2);
    }

    void stallsWithTheConnectionOpen()
    {
        LoopbackServer server;
        QVERIFY(server.start());
        server.route(u"/slow"_s, Response::generated(1000, digits).trickled(3, 1ms).stallingAfter(10));

        QTcpSocket socket;
        socket.connectToHost(QHostAddress::LocalHost, server.port());
        QVERIFY(socket.waitForConnected(5000));
        socket.write("GET /slow HTTP/1.1\r\nHost: x\r\n\r\n");
        QTRY_COMPARE(server.bodyBytesSent(), qint64(10));
        QByteArray received = socket.readAll();
        while (!received.endsWith("0123456789") && socket.waitForReadyRead(5000))
            received += socket.readAll();
        QVERIFY2(received.endsWith("Content-Length: 1000\r\n\r\n0123456789"), received.constData());
        QCOMPARE(socket.state(), QAbstractSocket::ConnectedState);
        QCOMPARE(server.connectionsOpen(), 1);

        socket.disconnectFromHost();
        QTRY_COMPARE(server.connectionsOpen(), 0);
        QCOMPARE(server.bodyBytesSent(), qint64(10));
    }

    void servesLargeBodies()
    {
        constexpr qint64 size = 26 * 1024 * 1024 + 1;
        LoopbackServer server;
        QVERIFY(server.start());
        server.route(u"/big"_s, Response::generated(size, digits));

        QNetworkAccessManager manager;
        std::unique_ptr<QNetworkReply> reply(manager.get(QNetworkRequest(server.url(u"/big"_s))));
        QSignalSpy finished(reply.get(), &QNetworkReply::finished);
        QVERIFY(finished.wait(30000));
        QCOMPARE(reply->error(), QNetworkReply::NoError);
        const QByteArray body = reply->readAll();
        QCOMPARE(body.size(), size);
        QCOMPARE(body.left(12), "012345678901");
        QCOMPARE(body.right(11), digits(size - 11, 11));
        QCOMPARE(server.bodyBytesSent(), size);
    }
};

QTEST_GUILESS_MAIN(TestLoopbackServer)
#include "tst_loopback_server.moc"
