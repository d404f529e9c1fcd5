#include "LoopbackServer.h"
#include "ProviderGuide.h"
#include "Settled.h"
#include "Texts.h"
#include "async/Cancellation.h"
#include "http/HTTPClient.h"
#include "http/TransportError.h"
#include "models/LibraryModel.h"
#include "records/IPTVError.h"

#include <QElapsedTimer>
#include <QMetaEnum>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSignalSpy>
#include <QRegularExpression>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <memory>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Response = LoopbackServer::Response;
using Request = LoopbackServer::Request;

Q_DECLARE_METATYPE(LoopbackServer::Response)
Q_DECLARE_METATYPE(HTTPClient::Limits)

namespace {

const QString succeeded = u"ok"_s;
const QString accessDenied = u"IPTVError: "_s + Texts::denied;
const QString tooLarge = u"IPTVError: La llista supera el límit de 25 MB."_s;
const QString timedOut = u"TransportError: timedOut (TimeoutError)"_s;
const QString cancelled = u"CancelledError"_s;
const QString tooSlowText = u"El servidor triga massa a respondre. Torna-ho a provar."_s;
const QString cannotConnectText = u"No es pot connectar amb el servidor. Revisa l’adreça."_s;
const QString generalText = Texts::generalFailure;

constexpr qint64 sizeCap = 26'214'400;

QString statusError(int status)
{
    return u"IPTVError: "_s + Texts::httpError(status);
}

using Fetched = Outcome<HTTPPayload>;

Fetched fetchNow(const QNetworkRequest &request, const CancellationToken &cancellation = {},
    const HTTPClient::Limits &limits = {})
{
    return settle(HTTPClient::fetch(request, cancellation, limits));
}

HTTPClient::Limits limits(std::chrono::milliseconds head, std::chrono::milliseconds idle,
    std::chrono::milliseconds resource, qint64 maximumBytes = HTTPClient::maximumBodyBytes)
{
    HTTPClient::Limits result;
    result.head = head;
    result.idle = idle;
    result.resource = resource;
    result.maximumBytes = maximumBytes;
    return result;
}

QString kindName(TransportError::Kind kind)
{
    switch (kind) {
    case TransportError::Kind::notConnectedToInternet:
        return u"notConnectedToInternet"_s;
    case TransportError::Kind::timedOut:
        return u"timedOut"_s;
    case TransportError::Kind::cannotFindHost:
        return u"cannotFindHost"_s;
    case TransportError::Kind::cannotConnectToHost:
        return u"cannotConnectToHost"_s;
    case TransportError::Kind::secureConnectionFailed:
        return u"secureConnectionFailed"_s;
    case TransportError::Kind::serverCertificateUntrusted:
        return u"serverCertificateUntrusted"_s;
    case TransportError::Kind::cancelled:
        return u"cancelled"_s;
    case TransportError::Kind::other:
        return u"other"_s;
    }
    return u"?"_s;
}

// "ok", or the failure: "IPTVError: <message>", "TransportError: <kind> (<Qt error>)", "CancelledError".
QString describe(const Fetched &outcome)
{
    if (!outcome.error)
        return outcome.value ? succeeded : u"neither payload nor failure"_s;
    try {
        std::rethrow_exception(outcome.error);
    } catch (const IPTVError &error) {
        return "IPTVError: "_L1 + error.message();
    } catch (const TransportError &error) {
        const char *qtName
            = QMetaEnum::fromType<QNetworkReply::NetworkError>().valueToKey(error.networkError());
        return "TransportError: "_L1 + kindName(error.kind()) + " ("_L1 + QLatin1StringView(qtName) + u')';
    } catch (const CancelledError &) {
        return cancelled;
    } catch (const std::exception &error) {
        return "unexpected: "_L1 + QString::fromUtf8(error.what());
    }
}

// The bodies the server generates: no byte repeats with a short period, so a lost or shifted piece
// shows.
QByteArray pattern(qint64 offset, qint64 length)
{
    QByteArray bytes(length, Qt::Uninitialized);
    char *out = bytes.data();
    for (qint64 i = 0; i < length; ++i) {
        const qint64 at = offset + i;
        out[i] = char((at * 7 + at / 251) & 0xff);
    }
    return bytes;
}

Response generated(qint64 size)
{
    return Response::generated(size, pattern);
}

QByteArray bodyOf(const Response &response)
{
    return response.generator ? response.generator(0, response.generatedSize) : response.body;
}

QByteArray headerLines(const Request &request)
{
    QByteArray lines;
    for (const LoopbackServer::Header &header : request.headers)
        lines += header.first + ": " + header.second + '\n';
    return lines;
}

// Playlist lines, `size` bytes of them: compresses more than a hundred times over.
QByteArray playlistText(qint64 size)
{
    const QByteArray entry = "#EXTINF:-1 tvg-id=\"canal\" group-title=\"Esports\",Canal\nhttp://h/live/u/p/1.ts\n";
    QByteArray text = entry.repeated(size / entry.size() + 1);
    text.truncate(size);
    return text;
}

// Ticks every 10 ms on the thread that creates it and remembers the longest wait between two ticks:
// a main thread held up shows as a long gap.
class GapMeter
{
public:
    GapMeter()
    {
        m_clock.start();
        m_timer.setInterval(10);
        QObject::connect(&m_timer, &QTimer::timeout, [this] {
            const qint64 now = m_clock.elapsed();
            m_longestGap = std::max(m_longestGap, now - m_lastTick);
            m_lastTick = now;
        });
        m_timer.start();
    }
    qint64 longestGap() const { return std::max(m_longestGap, m_clock.elapsed() - m_lastTick); }

private:
    QElapsedTimer m_clock;
    QTimer m_timer;
    qint64 m_lastTick = 0;
    qint64 m_longestGap = 0;
};

QByteArray withOrigins(QByteArray location, const LoopbackServer &a, const LoopbackServer *b = nullptr)
{
    location.replace("@AUTHORITY@", "127.0.0.1:" + QByteArray::number(a.port()));
    location.replace("@A@", "http://127.0.0.1:" + QByteArray::number(a.port()));
    location.replace("@A_LOCALHOST@", "http://localhost:" + QByteArray::number(a.port()));
    if (b)
        location.replace("@B@", "http://127.0.0.1:" + QByteArray::number(b->port()));
    return location;
}

} // namespace

class TestHTTPClient : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Qt warns when a reply is handled against its own rules (aborted inside its own signals, for
    // one): no download may cause a warning.
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    // The status decides the outcome; and however the body is framed, it arrives whole.
    void statusDecidesTheOutcome_data()
    {
        QTest::addColumn<Response>("response");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<QByteArray>("data");

        QTest::newRow("200") << Response::ok("#EXTM3U\n") << succeeded << QByteArray("#EXTM3U\n");
        QTest::newRow("204 without a body") << Response::withStatus(204) << succeeded << QByteArray();
        QTest::newRow("299") << Response::withStatus(299, "x") << succeeded << QByteArray("x");
        QTest::newRow("401") << Response::withStatus(401, "no") << accessDenied << QByteArray();
        QTest::newRow("403") << Response::withStatus(403, "no") << accessDenied << QByteArray();
        QTest::newRow("400") << Response::withStatus(400, "no") << statusError(400) << QByteArray();
        QTest::newRow("407") << Response::withStatus(407, "no") << statusError(407) << QByteArray();
        QTest::newRow("500") << Response::withStatus(500, "no") << statusError(500) << QByteArray();
        QTest::newRow("300") << Response::withStatus(300, "tria") << statusError(300) << QByteArray();
        QTest::newRow("304") << Response::withStatus(304) << statusError(304) << QByteArray();
        QTest::newRow("302 without a Location")
            << Response::withStatus(302, "x") << statusError(302) << QByteArray();
        QTest::newRow("305 with a Location is not followed")
            << Response::redirect(305, "/final") << statusError(305) << QByteArray();
        // Interim answers (1xx) come before the real one, which decides.
        const QList<LoopbackServer::Header> hints {{"Link", "</logo.png>; rel=preload; as=image"}};
        QTest::newRow("103 Early Hints, then 200")
            << Response::ok("#EXTM3U\n").afterInterim(103, hints) << succeeded << QByteArray("#EXTM3U\n");
        QTest::newRow("100 Continue, then 200")
            << Response::ok("#EXTM3U\n").afterInterim(100) << succeeded << QByteArray("#EXTM3U\n");
        QTest::newRow("two 103s, then a chunked 200")
            << Response::ok("#EXTM3U\n").chunked(3).afterInterim(103, hints).afterInterim(103, hints)
            << succeeded << QByteArray("#EXTM3U\n");
        QTest::newRow("102 Processing, then 200")
            << Response::ok("{}").afterInterim(102) << succeeded << QByteArray("{}");
        QTest::newRow("103, then 404")
            << Response::withStatus(404, "no").afterInterim(103, hints) << statusError(404) << QByteArray();
        QTest::newRow("103, then a redirect") << Response::redirect(302, "/final").afterInterim(103, hints)
                                              << succeeded << QByteArray("followed");

        // However the body is framed, it arrives whole.
        const QByteArray body = pattern(0, 70'000);
        const QByteArray text = QByteArray("#EXTM3U\n#EXTINF:-1,Canal\nhttp://h/1\n").repeated(2000);
        const QByteArray deflated = qCompress(text).mid(4); // the zlib stream without Qt's size prefix
        QTest::newRow("content length") << Response::ok(body) << succeeded << body;
        QTest::newRow("chunks of one byte")
            << Response::ok(body.left(3000)).chunked(1) << succeeded << body.left(3000);
        QTest::newRow("chunks of 4 kB") << Response::ok(body).chunked(4096) << succeeded << body;
        QTest::newRow("close-delimited") << Response::ok(body).withoutLength() << succeeded << body;
        QTest::newRow("trickled in odd pieces")
            << Response::ok(body.left(5000)).trickled(997, 1ms) << succeeded << body.left(5000);
        QTest::newRow("empty and chunked") << Response::ok().chunked(10) << succeeded << QByteArray();
        QTest::newRow("empty and close-delimited")
            << Response::ok().withoutLength() << succeeded << QByteArray();
        QTest::newRow("compressed, with its length")
            << Response::ok(deflated).withHeader("Content-Encoding", "deflate") << succeeded << text;
        QTest::newRow("compressed and chunked")
            << Response::ok(deflated).withHeader("Content-Encoding", "deflate").chunked(1000) << succeeded
            << text;
    }

    void statusDecidesTheOutcome()
    {
        QFETCH(Response, response);
        QFETCH(QString, expected);
        QFETCH(QByteArray, data);

        LoopbackServer server;
        server.route(u"/list.m3u"_s, response);
        server.route(u"/final"_s, Response::ok("followed"));

        const Fetched outcome = fetchNow(QNetworkRequest(server.url(u"/list.m3u"_s)));
        QCOMPARE(describe(outcome), expected);
        const bool followed = data == "followed";
        if (outcome.value) {
            QCOMPARE(outcome.value->data, data);
            QCOMPARE(outcome.value->url, server.url(followed ? u"/final"_s : u"/list.m3u"_s));
        }
        // After an interim answer, or a body that ends with its connection, Qt itself may ask once more.
        if (response.interim.isEmpty() && response.framing != Response::Framing::closeDelimited)
            QCOMPARE(server.requestCount(u"/list.m3u"_s), 1);
        QCOMPARE(server.requestCount(u"/final"_s), followed ? 1 : 0);
        QTRY_COMPARE(server.connectionsOpen(), 0);
    }

    // What reaches the server, fetch after fetch: the request's own headers, exactly as Qt itself
    // sends them; the app's name on provider requests; a connection of its own for every fetch; and
    // never a cookie, not even one set earlier in the same redirect chain.
    void whatEachFetchSends()
    {
        LoopbackServer server;
        server.route(u"/login"_s,
            Response::ok("a")
                .withHeader("Set-Cookie", "session=abc; Path=/")
                .withHeader("Set-Cookie", "theme=dark; Path=/"));
        server.route(u"/start"_s, Response::redirect(302, "/next").withHeader("Set-Cookie", "hop=1; Path=/"));
        server.route(u"/next"_s, Response::ok("b"));
        server.setFallback([](const Request &) { return Response::ok("{}"); });

        QNetworkRequest request(server.url(u"/player_api.php?username=u&password=p"_s));
        request.setRawHeader("Authorization", "Basic dTpw");
        request.setRawHeader("Accept", "application/json");
        request.setRawHeader("Referer", "http://127.0.0.1/");
        request.setRawHeader("X-Quenvo-Probe", "as given");
        QCOMPARE(describe(fetchNow(request)), succeeded);
        const Request viaFetch = server.lastRequest();
        QCOMPARE(viaFetch.method, QByteArray("GET"));
        QCOMPARE(viaFetch.target, QByteArray("/player_api.php?username=u&password=p"));
        QCOMPARE(viaFetch.headerValues("Authorization"), QList<QByteArray> {"Basic dTpw"});
        QCOMPARE(viaFetch.headerValues("Accept"), QList<QByteArray> {"application/json"});
        QCOMPARE(viaFetch.headerValues("Referer"), QList<QByteArray> {"http://127.0.0.1/"});
        QCOMPARE(viaFetch.headerValues("X-Quenvo-Probe"), QList<QByteArray> {"as given"});
        {
            // The same request through a plain network manager: what Qt itself sends.
            QNetworkAccessManager manager;
            std::unique_ptr<QNetworkReply> reply(manager.get(request));
            QSignalSpy finished(reply.get(), &QNetworkReply::finished);
            QVERIFY(finished.wait(5000));
            QCOMPARE(headerLines(viaFetch), headerLines(server.lastRequest()));
        }

        const QNetworkRequest provider = HTTPClient::providerRequest(server.url(u"/get.php?type=m3u_plus"_s));
        QCOMPARE(provider.url(), server.url(u"/get.php?type=m3u_plus"_s));
        QCOMPARE(provider.transferTimeout(), 60'000);
        QCOMPARE(describe(fetchNow(provider)), succeeded);
        QCOMPARE(server.lastRequest().headerValues("User-Agent"), QList<QByteArray> {"Quenvo-macOS/0.1"});
        QCOMPARE(server.lastRequest().query, u"type=m3u_plus"_s);

        QCOMPARE(describe(fetchNow(QNetworkRequest(server.url(u"/login"_s)))), succeeded);
        const Fetched redirected = fetchNow(QNetworkRequest(server.url(u"/start"_s)));
        QCOMPARE(describe(redirected), succeeded);
        QCOMPARE(redirected.value->data, "b");

        const QList<Request> requests = server.requests();
        QCOMPARE(requests.size(), 6);
        for (int i = 0; i < 5; ++i) // the redirect's second request may share its fetch's connection
            QCOMPARE(requests.at(i).connection, i + 1);
        for (const Request &request : requests)
            QVERIFY2(!request.hasHeader("Cookie"), qPrintable(request.path));
        QTRY_COMPARE(server.connectionsOpen(), 0);
    }

    // A redirect is followed to where its Location points, or refused (no final target) when the
    // address it gives is unsafe: credentials, another scheme, no host. Five redirects in a row are
    // followed, a sixth is not.
    void followsRedirects_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("location"); // where the last redirect points
        QTest::addColumn<int>("redirects");
        QTest::addColumn<QString>("finalTarget");

        for (const int status : {301, 302, 303, 307, 308}) {
            QTest::addRow("%d to an absolute address", status)
                << status << QByteArray("@A@/final") << 1 << u"/final"_s;
            QTest::addRow("%d to a path", status) << status << QByteArray("/final") << 1 << u"/final"_s;
        }
        QTest::newRow("relative to the folder") << 302 << QByteArray("final") << 1 << u"/dir/final"_s;
        QTest::newRow("to the parent folder") << 301 << QByteArray("../final") << 1 << u"/final"_s;
        QTest::newRow("without a scheme")
            << 307 << QByteArray("//@AUTHORITY@/dir/final") << 1 << u"/dir/final"_s;
        QTest::newRow("with a query")
            << 302 << QByteArray("/final?username=a&password=b") << 1 << u"/final?username=a&password=b"_s;
        QTest::newRow("blank in the path") << 302 << QByteArray("/dir/my final") << 1 << u"/dir/my%20final"_s;
        QTest::newRow("five redirects") << 302 << QByteArray("/final") << 5 << u"/final"_s;
        QTest::newRow("refused: six redirects") << 302 << QByteArray("/final") << 6 << QString();
        QTest::newRow("refused: user and password")
            << 302 << QByteArray("http://u:p@@AUTHORITY@/final") << 1 << QString();
        QTest::newRow("refused: user info without a scheme")
            << 307 << QByteArray("//u:p@@AUTHORITY@/final") << 1 << QString();
        QTest::newRow("refused: ftp") << 302 << QByteArray("ftp://@AUTHORITY@/final") << 1 << QString();
        QTest::newRow("refused: data") << 303 << QByteArray("data:text/plain,final") << 1 << QString();
        QTest::newRow("refused: no host") << 302 << QByteArray("http:///final") << 1 << QString();
    }

    void followsRedirects()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, location);
        QFETCH(int, redirects);
        QFETCH(QString, finalTarget);

        LoopbackServer server;
        // /dir/start leads to /dir/hop1, and so on; the last redirect points to `location`.
        const auto hop
            = [](int number) { return number == 0 ? u"/dir/start"_s : u"/dir/hop%1"_s.arg(number); };
        for (int number = 0; number + 1 < redirects; ++number)
            server.redirect(hop(number), status, hop(number + 1).toUtf8());
        server.redirect(hop(redirects - 1), status, withOrigins(location, server));
        server.setFallback(
            [](const Request &request) { return Response::ok("arribat a " + request.target); });

        const Fetched outcome = fetchNow(QNetworkRequest(server.url(u"/dir/start"_s)));
        const QList<Request> requests = server.requests();
        QCOMPARE(requests.at(0).target, "/dir/start");
        if (finalTarget.isEmpty()) {
            QCOMPARE(describe(outcome), statusError(status));
            QCOMPARE(requests.size(), redirects);
            return;
        }
        QCOMPARE(describe(outcome), succeeded);
        QCOMPARE(outcome.value->data, "arribat a " + finalTarget.toUtf8());
        QCOMPARE(outcome.value->url, server.url(finalTarget));
        QCOMPARE(requests.size(), redirects + 1);
        QCOMPARE(requests.last().target, finalTarget.toUtf8());
        QCOMPARE(requests.last().method, "GET");
    }

    void dropsAuthorizationWhenTheOriginChanges_data()
    {
        QTest::addColumn<QByteArray>("location");
        QTest::addColumn<bool>("endsOnSecond");
        QTest::addColumn<bool>("keepsAuthorization");

        QTest::newRow("path on the same origin") << QByteArray("/final") << false << true;
        QTest::newRow("another port") << QByteArray("@B@/final") << true << false;
        QTest::newRow("another host name") << QByteArray("@A_LOCALHOST@/final") << false << false;
        QTest::newRow("away and back again") << QByteArray("@B@/back") << false << false;
    }

    void dropsAuthorizationWhenTheOriginChanges()
    {
        QFETCH(QByteArray, location);
        QFETCH(bool, endsOnSecond);
        QFETCH(bool, keepsAuthorization);

        LoopbackServer first;
        LoopbackServer second;
        first.redirect(u"/start"_s, 302, withOrigins(location, first, &second));
        first.route(u"/final"_s, Response::ok("first"));
        second.redirect(u"/back"_s, 307, withOrigins("@A@/final", first));
        second.route(u"/final"_s, Response::ok("second"));

        QNetworkRequest request = HTTPClient::providerRequest(first.url(u"/start"_s));
        request.setRawHeader("Authorization", "Bearer token");
        request.setRawHeader("X-Quenvo-Probe", "kept");
        const Fetched outcome = fetchNow(request);
        QCOMPARE(describe(outcome), succeeded);
        QCOMPARE(outcome.value->data, endsOnSecond ? "second" : "first");

        QCOMPARE(first.requests().first().header("Authorization"), "Bearer token");
        LoopbackServer &finalServer = endsOnSecond ? second : first;
        const Request arrived = finalServer.lastRequest();
        QCOMPARE(arrived.path, u"/final"_s);
        QCOMPARE(arrived.hasHeader("Authorization"), keepsAuthorization);
        if (keepsAuthorization)
            QCOMPARE(arrived.headerValues("Authorization"), QList<QByteArray> {"Bearer token"});
        QCOMPARE(arrived.headerValues("X-Quenvo-Probe"), QList<QByteArray> {"kept"});
        QCOMPARE(arrived.headerValues("User-Agent"), QList<QByteArray> {"Quenvo-macOS/0.1"});
        for (const Request &request : second.requests())
            QVERIFY(!request.hasHeader("Authorization"));
        QCOMPARE(outcome.value->url.path(), u"/final"_s);
        QCOMPARE(outcome.value->url.port(), int(finalServer.port()));
    }

    // How a transfer ends at the limits it runs under: the size cap (announced, chunked or
    // close-delimited), the head and idle time-outs, and the transport failing; what a failure tells
    // the user; and the connection gone afterwards.
    void howATransferEnds_data()
    {
        QTest::addColumn<Response>("response");
        QTest::addColumn<HTTPClient::Limits>("limits");
        QTest::addColumn<int>("requestTimeout"); // ms, 0 for none
        QTest::addColumn<bool>("nothingListening");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<QString>("text"); // what the user reads, on a failure
        QTest::addColumn<qint64>("received"); // the body's first bytes, on a success

        const auto row = [](const char *name, const Response &response, const HTTPClient::Limits &limits,
                             const QString &expected, const QString &text, qint64 received = 0,
                             int requestTimeout = 0, bool nothingListening = false) {
            QTest::newRow(name) << response << limits << requestTimeout << nothingListening << expected
                                << text << received;
        };
        const HTTPClient::Limits capped = limits(10s, 10s, 60s);
        const HTTPClient::Limits small = limits(10s, 10s, 60s, 1000);
        const QString tooLargeText = u"La llista supera el límit de 25 MB."_s;
        row("announced one byte over, decided before the body", generated(sizeCap + 1).stallingAfter(0),
            capped, tooLarge, tooLargeText);
        row("announced exactly the limit", generated(sizeCap), capped, succeeded, QString(), sizeCap);
        row("chunked, exactly the limit", generated(sizeCap).chunked(64 * 1024), capped, succeeded, QString(),
            sizeCap);
        row("chunked, one byte over", generated(sizeCap + 1).chunked(64 * 1024), capped, tooLarge,
            tooLargeText);
        row("close-delimited, exactly the limit", generated(sizeCap).withoutLength(), capped, succeeded,
            QString(), sizeCap);
        row("close-delimited, one byte over", generated(sizeCap + 1).withoutLength(), capped, tooLarge,
            tooLargeText);
        // Qt reads a response as long as its Content-Length says: what follows never reaches the body.
        row("length lying low before a body over the limit", generated(sizeCap + 1).lyingLength(1000), capped,
            succeeded, QString(), 1000);
        row("small limit, chunks of 7 over", generated(1001).chunked(7), small, tooLarge, tooLargeText);
        row("small limit, trickled over", generated(1001).chunked(100).trickled(100, 1ms), small, tooLarge,
            tooLargeText);

        row("no head", Response::silence(), limits(300ms, 20s, 20s), timedOut, tooSlowText);
        row("no head, the request's own time-out", Response::silence(), limits(60s, 20s, 20s), timedOut,
            tooSlowText, 0, 300);
        row("late head inside the limit", Response::ok("x").delayedBy(50ms), limits(5s, 20s, 20s), succeeded,
            QString(), 1);
        row("body stalls", generated(10'000).stallingAfter(100), limits(20s, 300ms, 20s), timedOut,
            tooSlowText);
        row("chunked body stalls", generated(10'000).chunked(64).stallingAfter(100), limits(20s, 300ms, 20s),
            timedOut, tooSlowText);
        row("stalls right after the head", generated(10'000).stallingAfter(0), limits(20s, 300ms, 20s),
            timedOut, tooSlowText);
        // 20 pieces, 30 ms apart: twice as long as the idle limit, each gap a tenth of it.
        row("slow but steady", generated(200).trickled(10, 30ms), limits(20s, 300ms, 20s), succeeded,
            QString(), 200);
        row("steady but longer than the whole limit", generated(1'000'000).trickled(10, 20ms),
            limits(20s, 2s, 800ms), timedOut, tooSlowText);

        const QString closed = u"TransportError: other (RemoteHostClosedError)"_s;
        const HTTPClient::Limits plain = limits(10s, 10s, 30s);
        row("connection refused", Response(), plain,
            u"TransportError: cannotConnectToHost (ConnectionRefusedError)"_s, cannotConnectText, 0, 0, true);
        row("closed without an answer", Response::hangingUp(), plain, closed, generalText);
        row("body shorter than its length", generated(5000).lyingLength(10'000), plain, closed, generalText);
        row("cut in the middle", generated(5000).stallingAfter(2500).closing(), plain, closed, generalText);
        // Qt may finish such a reply without an error when the close arrives with the last bytes; the
        // client compares what arrived with the announced length.
        row("large body cut in the middle", generated(500'000).stallingAfter(250'000).closing(), plain,
            closed, generalText);
    }

    void howATransferEnds()
    {
        QFETCH(Response, response);
        QFETCH(HTTPClient::Limits, limits);
        QFETCH(int, requestTimeout);
        QFETCH(bool, nothingListening);
        QFETCH(QString, expected);
        QFETCH(QString, text);
        QFETCH(qint64, received);

        LoopbackServer server;
        server.route(u"/list.m3u"_s, response);
        QUrl url = server.url(u"/list.m3u"_s);
        if (nothingListening) {
            const quint16 port = LoopbackServer::closedPort();
            QVERIFY(port != 0);
            url.setPort(port);
        }
        QNetworkRequest request(url);
        request.setTransferTimeout(requestTimeout);
        const Fetched outcome = fetchNow(request, {}, limits);
        QCOMPARE(describe(outcome), expected);
        if (outcome.value) {
            QCOMPARE(outcome.value->data.size(), received);
            QVERIFY(outcome.value->data == bodyOf(response).left(received));
        } else {
            QCOMPARE(LibraryModel::safeError(outcome.error), text);
        }
        QTRY_COMPARE(server.connectionsOpen(), 0);
        if (expected == timedOut) // a transfer that timed out is not asked for again
            QCOMPARE(server.requestCount(), 1);
    }

    // Every hop's head gets the head limit: the idle limit of the body does not run while the next
    // server is asked.
    void aRedirectedHeadGetsTheHeadLimit()
    {
        LoopbackServer server;
        server.route(u"/moved.m3u"_s, Response::redirect(302, "/list.m3u"));
        server.route(u"/list.m3u"_s, Response::ok("#EXTM3U\n").delayedBy(600ms));
        const Fetched outcome = fetchNow(QNetworkRequest(server.url(u"/moved.m3u"_s)), {},
            limits(std::chrono::milliseconds(5'000), std::chrono::milliseconds(200), std::chrono::milliseconds(20'000)));
        QCOMPARE(describe(outcome), succeeded);
        QCOMPARE(server.requestCount(), 2);
    }

    void cancelsTheTransfer_data()
    {
        QTest::addColumn<Response>("response");
        QTest::addColumn<qint64>("cancelAfterBytes");

        QTest::newRow("while the body streams")
            << generated(20 * 1024 * 1024).trickled(4096, 5ms) << qint64(16 * 1024);
        QTest::newRow("while a chunked body streams")
            << generated(20 * 1024 * 1024).chunked(1000).trickled(4096, 5ms) << qint64(16 * 1024);
        QTest::newRow("while waiting for the head") << Response::silence() << qint64(0);
        QTest::newRow("before it starts: no connection at all") << Response::ok("#EXTM3U") << qint64(-1);
    }

    void cancelsTheTransfer()
    {
        QFETCH(Response, response);
        QFETCH(qint64, cancelAfterBytes);

        LoopbackServer server;
        server.route(u"/list.m3u"_s, response);
        const CancellationToken cancellation = CancellationToken::create();
        if (cancelAfterBytes < 0)
            cancellation.cancel();
        QCoro::Task<Fetched> download = settled(HTTPClient::fetch(
            QNetworkRequest(server.url(u"/list.m3u"_s)), cancellation, limits(60s, 60s, 60s)));
        if (cancelAfterBytes >= 0) {
            QTRY_VERIFY(server.requestCount() == 1 && server.bodyBytesSent() >= cancelAfterBytes);
            cancellation.cancel();
        }
        const Fetched outcome = QCoro::waitFor(download);
        QCOMPARE(describe(outcome), cancelled);
        QCOMPARE(LibraryModel::safeError(outcome.error), generalText);
        // The transfer is aborted: the server sees the connection go, long before the body could end.
        QTRY_COMPARE(server.connectionsOpen(), 0);
        QVERIFY(server.bodyBytesSent() < response.bodySize() || response.neverAnswer);
        QCOMPARE(server.connectionsAccepted(), cancelAfterBytes < 0 ? 0 : 1);
    }

    // A server that sends header lines without end: the head limit (or the caller) ends the download,
    // and the connection is gone right after, while the caller's thread kept running throughout.
    void anEndlessHeadIsCutOff_data()
    {
        QTest::addColumn<bool>("byCaller");
        QTest::newRow("at the head limit") << false;
        QTest::newRow("cancelled by the caller") << true;
    }

    void anEndlessHeadIsCutOff()
    {
        QFETCH(bool, byCaller);

        LoopbackServer server;
        server.route(u"/list.m3u"_s, Response::endlessHeaders());
        const CancellationToken cancellation = CancellationToken::create();
        const std::chrono::milliseconds headLimit = byCaller ? 60s : 1500ms;

        GapMeter gaps;
        QElapsedTimer clock;
        clock.start();
        QCoro::Task<Fetched> download = settled(HTTPClient::fetch(
            QNetworkRequest(server.url(u"/list.m3u"_s)), cancellation, limits(headLimit, 20s, 90s)));
        if (byCaller) {
            // Well into the flood before the caller gives up.
            QTRY_VERIFY(server.headBytesSent() > 4 * 1024 * 1024);
            cancellation.cancel();
        }
        const Fetched outcome = QCoro::waitFor(download);
        const qint64 took = clock.elapsed();
        QCOMPARE(describe(outcome), byCaller ? cancelled : timedOut);
        if (!byCaller) {
            QCOMPARE(LibraryModel::safeError(outcome.error), tooSlowText);
            QVERIFY2(took < headLimit.count() + 1000, qPrintable(u"returned after %1 ms"_s.arg(took)));
        }
        // Nothing reads from the server any more: it sees the connection go at once.
        QTRY_COMPARE_WITH_TIMEOUT(server.connectionsOpen(), 0, 1000);
        const qint64 sent = server.headBytesSent();
        QVERIFY(sent > 1024 * 1024);
        QCOMPARE(server.connectionsAccepted(), 1);
        QVERIFY2(gaps.longestGap() < 1000, qPrintable(u"the thread stood still for %1 ms"_s.arg(gaps.longestGap())));
        QTest::qWait(200);
        QCOMPARE(server.headBytesSent(), sent);
    }

    // The size limit applies to the body as it is after decompression, whatever the compression ratio.
    void capsTheDecompressedSize_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<bool>("chunked");
        QTest::addColumn<qint64>("maximumBytes");
        QTest::addColumn<QString>("expected");

        const qint64 cap = HTTPClient::maximumBodyBytes;
        QTest::newRow("a bomb of 100 MB") << playlistText(100 * 1024 * 1024) << false << cap << tooLarge;
        QTest::newRow("a chunked bomb of 100 MB") << playlistText(100 * 1024 * 1024) << true << cap << tooLarge;
        QTest::newRow("one byte over") << playlistText(sizeCap + 1) << false << cap << tooLarge;
        QTest::newRow("exactly the limit") << playlistText(sizeCap) << false << cap << succeeded;
        QTest::newRow("small limit, over") << playlistText(100'001) << false << qint64(100'000) << tooLarge;
    }

    void capsTheDecompressedSize()
    {
        QFETCH(QByteArray, text);
        QFETCH(bool, chunked);
        QFETCH(qint64, maximumBytes);
        QFETCH(QString, expected);

        const QByteArray compressed = ProviderGuide::gzip(text);
        QVERIFY(!compressed.isEmpty());
        // Far beyond the ratio at which Qt itself would call it a decompression bomb (40).
        QVERIFY(text.size() / compressed.size() > 100);
        Response response = Response::ok(compressed).withHeader("Content-Encoding", "gzip");
        if (chunked)
            response.chunked(4096);

        LoopbackServer server;
        server.route(u"/list.m3u"_s, response);
        const Fetched outcome
            = fetchNow(QNetworkRequest(server.url(u"/list.m3u"_s)), {}, limits(10s, 10s, 60s, maximumBytes));
        QCOMPARE(describe(outcome), expected);
        if (outcome.value) {
            QCOMPARE(outcome.value->data.size(), text.size());
            QVERIFY(outcome.value->data == text);
        } else {
            QCOMPARE(LibraryModel::safeError(outcome.error), u"La llista supera el límit de 25 MB."_s);
        }
        QTRY_COMPARE(server.connectionsOpen(), 0);
    }
};

QTEST_GUILESS_MAIN(TestHTTPClient)
#include "tst_httpclient.moc"
