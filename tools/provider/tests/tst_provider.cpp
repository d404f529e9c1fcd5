#include "ProviderAnswers.h"
#include "ProviderGuide.h"
#include "ProviderServer.h"
#include "m3u/M3UParser.h"
#include "records/IPTVError.h"
#include "records/PlaylistSource.h"
#include "repositories/XtreamReaders.h"

#include <QDateTime>
#include <QJsonArray>
#include <QTimeZone>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTcpSocket>
#include <QTest>
#include <QXmlStreamReader>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

using Headers = QList<std::pair<QByteArray, QByteArray>>;

struct Response
{
    bool finished = false;
    int status = 0;
    QByteArray body;
    QHash<QByteArray, QByteArray> headers; // lower-case names

    QByteArray header(const QByteArray &lowerCaseName) const { return headers.value(lowerCaseName); }
};

Response fetch(QNetworkAccessManager &network, const QUrl &url, const QByteArray &verb = "GET",
    const Headers &headers = {})
{
    QNetworkRequest request(url);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    for (const auto &[name, value] : headers)
        request.setRawHeader(name, value);
    std::unique_ptr<QNetworkReply> reply(
        verb == "HEAD" ? network.head(request) : network.sendCustomRequest(request, verb));
    QSignalSpy finished(reply.get(), &QNetworkReply::finished);
    Response response;
    response.finished = reply->isFinished() || finished.wait(60000);
    response.status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    response.body = reply->readAll();
    for (const auto &[name, value] : reply->rawHeaderPairs())
        response.headers.insert(name.toLower(), value);
    return response;
}

QJsonDocument json(const QByteArray &body)
{
    QJsonParseError error;
    QJsonDocument document = QJsonDocument::fromJson(body, &error);
    if (error.error != QJsonParseError::NoError)
        qWarning() << "not JSON:" << error.errorString() << body.left(200);
    return document;
}

// The offset of the first 188-byte packet that does not start with the MPEG-TS sync byte; −1 when
// every whole packet does.
qsizetype firstUnsyncedPacket(const QByteArray &bytes)
{
    for (qsizetype offset = 0; offset + 188 <= bytes.size(); offset += 188) {
        if (bytes[offset] != char(0x47))
            return offset;
    }
    return -1;
}

// Sends raw bytes and reads until the server closes the connection.
QByteArray exchange(quint16 port, const QByteArray &bytes)
{
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, port);
    if (!socket.waitForConnected(10000))
        return {};
    socket.write(bytes);
    QByteArray received;
    while (socket.waitForReadyRead(20000))
        received += socket.readAll();
    return received + socket.readAll();
}

struct RawResponse
{
    int status = 0;
    QHash<QByteArray, QByteArray> headers;
    QByteArray body;
};

// Splits what a server sent into responses; `heads` tells which ones answer HEAD (no body).
QList<RawResponse> splitResponses(QByteArray data, const QList<bool> &heads)
{
    QList<RawResponse> responses;
    for (const bool head : heads) {
        const qsizetype end = data.indexOf("\r\n\r\n");
        if (end < 0)
            break;
        const QList<QByteArray> lines = data.left(end).split('\n');
        data.remove(0, end + 4);
        RawResponse response;
        response.status = lines.first().split(' ').value(1).toInt();
        for (qsizetype index = 1; index < lines.size(); ++index) {
            const qsizetype colon = lines[index].indexOf(':');
            response.headers.insert(
                lines[index].left(colon).trimmed().toLower(), lines[index].mid(colon + 1).trimmed());
        }
        const qsizetype length = head ? 0 : response.headers.value("content-length").toLongLong();
        response.body = data.left(length);
        data.remove(0, length);
        responses.append(response);
    }
    return responses;
}

QString probeProgram()
{
    return QStandardPaths::findExecutable(u"ffprobe"_s);
}

} // namespace

class ProviderTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();

    void sameOptionsGiveTheSameCatalogue_data();
    void sameOptionsGiveTheSameCatalogue();

    void endpointsAnswer_data();
    void endpointsAnswer();
    void playlistsParse_data();
    void playlistsParse();
    void basicAuthentication_data();
    void basicAuthentication();

    void xtreamAccounts_data();
    void xtreamAccounts();
    void xtreamRefusals_data();
    void xtreamRefusals();
    void xtreamCategories_data();
    void xtreamCategories();
    void xtreamLists_data();
    void xtreamLists();
    void movieDetails_data();
    void movieDetails();
    void seriesDetails_data();
    void seriesDetails();
    void liveListReadByTheApplication();
    void theGuideFollowsTheClock();

    void streamAddressesCheckCredentials_data();
    void streamAddressesCheckCredentials();
    void rangeRequests_data();
    void rangeRequests();
    void liveStreamLoopsTransportStream_data();
    void liveStreamLoopsTransportStream();
    void hlsPlaylistsAndSegments_data();
    void hlsPlaylistsAndSegments();
    void stalledChannelSendsOnlyTheHead();
    void shortLivedChannelEnds();
    void generatedMedia_data();
    void generatedMedia();

    void keepAliveAndPipelining();
    void malformedRequests_data();
    void malformedRequests();
    void manyClientsAndStop();
    void takenPortIsReported();
    void largeCatalogueWithoutMedia();
    void posterPerTitle_data();
    void posterPerTitle();
    void delayedImagesAndCounters();

private:
    QUrl url(const QString &path) const { return m_server->url(path); }
    QString livePath(int index, const QString &extension, const QString &account = u"demo"_s) const
    {
        return u"/live/"_s + account + u'/' + account + u'/'
            + QString::number(m_server->catalog().liveChannelID(index)) + u'.' + extension;
    }
    // The first movie whose container is `extension`; −1 when there is none.
    int movieWithExtension(const QString &extension) const;
    PlaylistSource xtreamSource(const QString &account = u"demo"_s) const
    {
        return PlaylistSource(QUuid::createUuid(), u"Proveïdor local"_s, m_server->baseURL().toString(),
            account, account, PlaylistSource::Kind::xtream);
    }

    std::unique_ptr<ProviderServer> m_server;
    QNetworkAccessManager m_network;
};

#define QUENVO_REQUIRE_MEDIA()                                                                               \
    do {                                                                                                     \
        if (!m_server->mediaAvailable())                                                                     \
            QSKIP(qPrintable(u"no generated media: "_s + m_server->mediaError()));                           \
    } while (false)

void ProviderTest::initTestCase()
{
    ProviderOptions options;
    options.liveChannels = 40;
    options.movies = 25;
    options.series = 9;
    options.categories = 4;
    options.seed = 7;
    options.mediaFolder = QStringLiteral(QUENVO_PROVIDER_TEST_MEDIA);
    // Live streams hand over their first minute at once, so tests read past the end of a clip
    // without waiting for it to play.
    options.liveBurstSeconds = 60;
    m_server = std::make_unique<ProviderServer>(options);
    QVERIFY2(m_server->start(), qPrintable(m_server->errorString()));
    QVERIFY(m_server->port() != 0);
    if (!m_server->mediaAvailable())
        qWarning("media checks will be skipped: %s", qPrintable(m_server->mediaError()));
}

void ProviderTest::cleanupTestCase()
{
    m_server.reset();
}

int ProviderTest::movieWithExtension(const QString &extension) const
{
    const ProviderCatalog &catalog = m_server->catalog();
    for (int index = 0; index < catalog.movieCount(); ++index) {
        if (catalog.movieExtension(index) == extension)
            return index;
    }
    return -1;
}

void ProviderTest::sameOptionsGiveTheSameCatalogue_data()
{
    QTest::addColumn<quint64>("otherSeed");
    QTest::addColumn<bool>("same");
    QTest::newRow("same seed") << quint64(7) << true;
    QTest::newRow("another seed") << quint64(8) << false;
}

void ProviderTest::sameOptionsGiveTheSameCatalogue()
{
    QFETCH(quint64, otherSeed);
    QFETCH(bool, same);
    ProviderOptions options = m_server->options();
    options.seed = otherSeed;
    const ProviderCatalog other(options);
    const ProviderAnswers first(m_server->catalog(), u"http://127.0.0.1:1"_s);
    const ProviderAnswers second(other, u"http://127.0.0.1:1"_s);
    const ProviderAccount demo = *ProviderCatalog::account(u"demo"_s, u"demo"_s);

    QCOMPARE(first.playlist(demo, u"ts"_s) == second.playlist(demo, u"ts"_s), same);
    QCOMPARE(first.liveStreams({}) == second.liveStreams({}), same);
    QCOMPARE(first.vodStreams({}) == second.vodStreams({}), same);
    QCOMPARE(first.series({}) == second.series({}), same);
    const QString series = QString::number(other.seriesID(0));
    QCOMPARE(first.seriesInfo(series) == second.seriesInfo(series), same);
    // The shape never depends on the seed.
    QCOMPARE(other.liveChannelCount(), m_server->catalog().liveChannelCount());
    QCOMPARE(other.movieID(3), m_server->catalog().movieID(3));
}

void ProviderTest::endpointsAnswer_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("contentType");
    QTest::addColumn<QByteArray>("bodyStart"); // empty: anything

    QTest::newRow("summary") << u"/"_s << 200 << QByteArray("text/plain")
                             << QByteArray("Quenvo local provider");
    QTest::newRow("playlist") << u"/playlist.m3u"_s << 200 << QByteArray("audio/x-mpegurl")
                              << QByteArray("#EXTM3U url-tvg=\"");
    QTest::newRow("protected playlist without credentials")
        << u"/protected.m3u"_s << 401 << QByteArray("text/plain") << QByteArray();
    QTest::newRow("HLS stream") << u"/hls.m3u8"_s << 200 << QByteArray("application/vnd.apple.mpegurl")
                                << QByteArray("#EXTM3U\n#EXT-X-VERSION:3\n");
    QTest::newRow("account") << u"/player_api.php?username=demo&password=demo"_s << 200
                             << QByteArray("application/json") << QByteArray(R"({"user_info":{)");
    QTest::newRow("get.php, TS") << u"/get.php?username=demo&password=demo&type=m3u_plus&output=ts"_s << 200
                                 << QByteArray("audio/x-mpegurl") << QByteArray("#EXTM3U url-tvg=");
    QTest::newRow("get.php, format the account lacks")
        << u"/get.php?username=tsonly&password=tsonly&type=m3u_plus&output=m3u8"_s << 403
        << QByteArray("text/plain") << QByteArray();
    QTest::newRow("get.php, expired")
        << u"/get.php?username=expired&password=expired"_s << 403 << QByteArray("text/plain") << QByteArray();
    QTest::newRow("poster") << u"/images/poster-1.jpg"_s << 200 << QByteArray("image/jpeg")
                            << QByteArray("\xFF\xD8\xFF");
    QTest::newRow("logo") << u"/images/logo-4.png"_s << 200 << QByteArray("image/png")
                          << QByteArray("\x89PNG\r\n");
    QTest::newRow("unknown image") << u"/images/poster-99.jpg"_s << 404 << QByteArray("text/plain")
                                   << QByteArray();
    QTest::newRow("unknown address") << u"/nothing/here"_s << 404 << QByteArray("text/plain") << QByteArray();
}

void ProviderTest::endpointsAnswer()
{
    QFETCH(QString, path);
    QFETCH(int, status);
    QFETCH(QByteArray, contentType);
    QFETCH(QByteArray, bodyStart);
    if (contentType.startsWith("image/") || path.endsWith(u".m3u8"_s))
        QUENVO_REQUIRE_MEDIA();

    const Response response = fetch(m_network, url(path));
    QVERIFY(response.finished);
    QCOMPARE(response.status, status);
    QVERIFY2(response.header("content-type").startsWith(contentType), response.header("content-type"));
    QVERIFY2(response.body.startsWith(bodyStart), response.body.left(60));
    QCOMPARE(response.header("content-length").toLongLong(), qint64(response.body.size()));

    // HEAD answers the same head without the body.
    const Response head = fetch(m_network, url(path), "HEAD");
    QCOMPARE(head.status, status);
    QVERIFY(head.body.isEmpty());
    // (A live HLS window changes with time, and its length with it.)
    if (!path.endsWith(u".m3u8"_s))
        QCOMPARE(head.header("content-length"), response.header("content-length"));
}

void ProviderTest::playlistsParse_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("extension");
    QTest::newRow("plain") << u"/playlist.m3u"_s << u"ts"_s;
    QTest::newRow("get.php, TS") << u"/get.php?username=tsonly&password=tsonly&type=m3u_plus&output=ts"_s
                                 << u"ts"_s;
    QTest::newRow("get.php, HLS") << u"/get.php?username=demo&password=demo&type=m3u_plus&output=hls"_s
                                  << u"m3u8"_s;
}

void ProviderTest::playlistsParse()
{
    QFETCH(QString, path);
    QFETCH(QString, extension);
    const Response response = fetch(m_network, url(path));
    QCOMPARE(response.status, 200);
    const QList<Channel> channels = M3UParser::parse(QString::fromUtf8(response.body), url(path));

    const ProviderCatalog &catalog = m_server->catalog();
    const QString account = path.contains(u"tsonly"_s) ? u"tsonly"_s : u"demo"_s;
    QCOMPARE(channels.size(), catalog.liveChannelCount());
    for (int index = 0; index < catalog.liveChannelCount(); ++index) {
        const bool hls = catalog.liveChannelKind(index) == ProviderCatalog::LiveKind::hls;
        const Channel &channel = channels[index];
        QCOMPARE(channel.name(), catalog.liveChannelName(index));
        QCOMPARE(channel.group(), catalog.liveCategoryName(catalog.liveChannelCategory(index)));
        QCOMPARE(channel.url(), url(livePath(index, hls ? u"m3u8"_s : extension, account)));
        QCOMPARE(channel.requiresCustomHeaders(), index == catalog.userAgentChannel());
    }
    // Names outside ASCII and with commas survive the round trip.
    QVERIFY(std::any_of(channels.cbegin(), channels.cend(), [](const Channel &channel) {
        return channel.name().contains(u',')
            && std::any_of(
                channel.name().cbegin(), channel.name().cend(), [](QChar c) { return c.unicode() > 0x7F; });
    }));
}

void ProviderTest::basicAuthentication_data()
{
    QTest::addColumn<QByteArray>("authorization");
    QTest::addColumn<int>("status");
    QTest::newRow("none") << QByteArray() << 401;
    QTest::newRow("right") << QByteArray("Basic " + QByteArray("demo:demo").toBase64()) << 200;
    QTest::newRow("scheme in lower case") << QByteArray("basic " + QByteArray("demo:demo").toBase64()) << 200;
    QTest::newRow("wrong password") << QByteArray("Basic " + QByteArray("demo:other").toBase64()) << 401;
    QTest::newRow("another account") << QByteArray("Basic " + QByteArray("tsonly:tsonly").toBase64()) << 401;
    QTest::newRow("other scheme") << QByteArray("Bearer " + QByteArray("demo:demo").toBase64()) << 401;
    QTest::newRow("not base64") << QByteArray("Basic ***") << 401;
}

void ProviderTest::basicAuthentication()
{
    QFETCH(QByteArray, authorization);
    QFETCH(int, status);
    Headers headers;
    if (!authorization.isEmpty())
        headers.append({"Authorization", authorization});
    const Response response = fetch(m_network, url(u"/protected.m3u"_s), "GET", headers);
    QCOMPARE(response.status, status);
    if (status == 401) {
        QVERIFY(response.header("www-authenticate").startsWith("Basic realm="));
    } else {
        const QList<Channel> channels
            = M3UParser::parse(QString::fromUtf8(response.body), url(u"/protected.m3u"_s));
        QCOMPARE(channels.size(), m_server->catalog().liveChannelCount());
    }
}

void ProviderTest::xtreamAccounts_data()
{
    QTest::addColumn<QString>("username");
    QTest::addColumn<QString>("password");
    QTest::addColumn<int>("auth");
    QTest::addColumn<QString>("status");
    QTest::addColumn<QStringList>("formats");
    QTest::addColumn<QString>("extension"); // what the application picks; empty: it refuses the account
    QTest::newRow("demo") << u"demo"_s << u"demo"_s << 1 << u"Active"_s << QStringList {u"m3u8"_s, u"ts"_s}
                          << u"m3u8"_s;
    QTest::newRow("TS only") << u"tsonly"_s << u"tsonly"_s << 1 << u"Active"_s << QStringList {u"ts"_s}
                             << u"ts"_s;
    QTest::newRow("expired") << u"expired"_s << u"expired"_s << 1 << u"Expired"_s
                             << QStringList {u"m3u8"_s, u"ts"_s} << QString();
    QTest::newRow("wrong password") << u"demo"_s << u"nope"_s << 0 << QString() << QStringList() << QString();
    QTest::newRow("unknown user") << u"ningú"_s << u"res"_s << 0 << QString() << QStringList() << QString();
    QTest::newRow("no credentials") << QString() << QString() << 0 << QString() << QStringList() << QString();
}

void ProviderTest::xtreamAccounts()
{
    QFETCH(QString, username);
    QFETCH(QString, password);
    QFETCH(int, auth);
    QFETCH(QString, status);
    QFETCH(QStringList, formats);
    QFETCH(QString, extension);
    QString path = u"/player_api.php"_s;
    if (!username.isEmpty()) {
        path += u"?username="_s + PlaylistSource::encoded(username) + u"&password="_s
            + PlaylistSource::encoded(password);
    }
    const Response response = fetch(m_network, url(path));
    QCOMPARE(response.status, 200);
    const QJsonObject user = json(response.body).object().value(u"user_info"_s).toObject();
    QCOMPARE(user.value(u"auth"_s).toInt(-1), auth);
    if (auth == 1) {
        QCOMPARE(user.value(u"username"_s).toString(), username);
        QCOMPARE(user.value(u"status"_s).toString(), status);
        QStringList listed;
        for (const QJsonValue &format : user.value(u"allowed_output_formats"_s).toArray())
            listed.append(format.toString());
        QCOMPARE(listed, formats);
        QVERIFY(user.value(u"exp_date"_s).isString());
        const QJsonObject server = json(response.body).object().value(u"server_info"_s).toObject();
        QCOMPARE(server.value(u"port"_s).toString(), QString::number(m_server->port()));
        QVERIFY(server.value(u"timestamp_now"_s).isDouble());
    }

    QString picked;
    try {
        picked = XtreamReaders::accountStreamExtension(response.body);
    } catch (const IPTVError &) {
        picked.clear();
    }
    QCOMPARE(picked, extension);
}

void ProviderTest::xtreamRefusals_data()
{
    QTest::addColumn<QString>("query");
    QTest::newRow("wrong password, list") << u"username=demo&password=x&action=get_live_streams"_s;
    QTest::newRow("unknown user, details") << u"username=x&password=x&action=get_vod_info&vod_id=20001"_s;
    QTest::newRow("expired, list") << u"username=expired&password=expired&action=get_vod_streams"_s;
    QTest::newRow("expired, categories") << u"username=expired&password=expired&action=get_live_categories"_s;
    QTest::newRow("nothing") << u"action=get_series"_s;
}

void ProviderTest::xtreamRefusals()
{
    QFETCH(QString, query);
    const Response response = fetch(m_network, url(u"/player_api.php?"_s + query));
    QCOMPARE(response.status, 200);
    const QJsonObject answer = json(response.body).object();
    QCOMPARE(answer.keys(), QStringList {u"user_info"_s});
    QCOMPARE(answer.value(u"user_info"_s).toObject().value(u"auth"_s).toInt(-1), 0);
}

void ProviderTest::xtreamCategories_data()
{
    const ProviderCatalog &catalog = m_server->catalog();
    QTest::addColumn<QString>("action");
    QTest::addColumn<QStringList>("ids");
    QTest::addColumn<QStringList>("names");
    QStringList ids;
    QStringList names;
    for (int category = 0; category < catalog.liveCategoryCount(); ++category) {
        ids.append(catalog.liveCategoryID(category));
        names.append(catalog.liveCategoryName(category));
    }
    QTest::newRow("live") << u"get_live_categories"_s << ids << names;
    ids.clear();
    names.clear();
    for (int category = 0; category < catalog.vodCategoryCount(); ++category) {
        ids.append(catalog.vodCategoryID(category));
        names.append(catalog.vodCategoryName(category));
    }
    QTest::newRow("movies") << u"get_vod_categories"_s << ids << names;
    ids.clear();
    names.clear();
    for (int category = 0; category < catalog.seriesCategoryCount(); ++category) {
        ids.append(catalog.seriesCategoryID(category));
        names.append(catalog.seriesCategoryName(category));
    }
    QTest::newRow("series") << u"get_series_categories"_s << ids << names;
}

void ProviderTest::xtreamCategories()
{
    QFETCH(QString, action);
    QFETCH(QStringList, ids);
    QFETCH(QStringList, names);
    const Response response
        = fetch(m_network, url(u"/player_api.php?username=demo&password=demo&action="_s + action));
    QCOMPARE(response.status, 200);
    QStringList gotIDs;
    QStringList gotNames;
    for (const QJsonValue &row : json(response.body).array()) {
        QVERIFY(row[u"category_id"_s].isString());
        QVERIFY(row[u"parent_id"_s].isDouble());
        gotIDs.append(row[u"category_id"_s].toString());
        gotNames.append(row[u"category_name"_s].toString());
    }
    QCOMPARE(gotIDs, ids);
    QCOMPARE(gotNames, names);
    // Every category answer agrees with what the application reads from it.
    if (action == u"get_live_categories"_s)
        QCOMPARE(XtreamReaders::liveCategories(response.body).size(), ids.size());
    else
        QCOMPARE(XtreamReaders::catalogCategories(response.body).size(), ids.size());
}

void ProviderTest::xtreamLists_data()
{
    QTest::addColumn<QString>("action");
    QTest::addColumn<int>("category"); // −1: every category; −2: a category that does not exist
    const ProviderCatalog &catalog = m_server->catalog();
    QTest::newRow("live, all") << u"get_live_streams"_s << -1;
    QTest::newRow("live, first category") << u"get_live_streams"_s << 0;
    QTest::newRow("live, test channels") << u"get_live_streams"_s << catalog.liveCategoryCount() - 1;
    QTest::newRow("live, unknown category") << u"get_live_streams"_s << -2;
    QTest::newRow("movies, all") << u"get_vod_streams"_s << -1;
    QTest::newRow("movies, second category") << u"get_vod_streams"_s << 1;
    QTest::newRow("movies, unknown category") << u"get_vod_streams"_s << -2;
    QTest::newRow("series, all") << u"get_series"_s << -1;
    QTest::newRow("series, third category") << u"get_series"_s << 2;
}

void ProviderTest::xtreamLists()
{
    QFETCH(QString, action);
    QFETCH(int, category);
    const ProviderCatalog &catalog = m_server->catalog();
    const bool live = action == u"get_live_streams"_s;
    const bool series = action == u"get_series"_s;

    struct Expected
    {
        qint64 id;
        QString name;
        QString categoryID;
        QString extension;
    };
    QList<Expected> expected;
    const int count = live ? catalog.liveChannelCount()
        : series           ? catalog.seriesCount()
                           : catalog.movieCount();
    for (int index = 0; index < count; ++index) {
        if (live) {
            const int itsCategory = catalog.liveChannelCategory(index);
            if (category == -1 || category == itsCategory)
                expected.append({catalog.liveChannelID(index), catalog.liveChannelName(index),
                    catalog.liveCategoryID(itsCategory), {}});
        } else if (series) {
            const int itsCategory = catalog.seriesCategory(index);
            if (category == -1 || category == itsCategory)
                expected.append({catalog.seriesID(index), catalog.seriesName(index),
                    catalog.seriesCategoryID(itsCategory), {}});
        } else {
            const int itsCategory = catalog.movieCategory(index);
            if (category == -1 || category == itsCategory)
                expected.append({catalog.movieID(index), catalog.movieName(index),
                    catalog.vodCategoryID(itsCategory), catalog.movieExtension(index)});
        }
    }
    QString path = u"/player_api.php?username=demo&password=demo&action="_s + action;
    if (category == -2) {
        path += u"&category_id=9999"_s;
    } else if (category >= 0) {
        path += u"&category_id="_s
            + (live          ? catalog.liveCategoryID(category)
                    : series ? catalog.seriesCategoryID(category)
                             : catalog.vodCategoryID(category));
    }
    const Response response = fetch(m_network, url(path));
    QCOMPARE(response.status, 200);
    const QJsonArray rows = json(response.body).array();
    QCOMPARE(rows.size(), expected.size());
    const QString idKey = series ? u"series_id"_s : u"stream_id"_s;
    const QString imageKey = series ? u"cover"_s : u"stream_icon"_s;
    const QString timeKey = series ? u"last_modified"_s : u"added"_s;
    for (qsizetype row = 0; row < rows.size(); ++row) {
        const QJsonObject object = rows[row].toObject();
        QCOMPARE(object.value(u"num"_s).toInt(), int(row) + 1);
        QVERIFY(object.value(idKey).isDouble());
        QCOMPARE(qint64(object.value(idKey).toDouble()), expected[row].id);
        QCOMPARE(object.value(u"name"_s).toString(), expected[row].name);
        QVERIFY(object.value(u"category_id"_s).isString());
        QCOMPARE(object.value(u"category_id"_s).toString(), expected[row].categoryID);
        const QString time = object.value(timeKey).toString();
        QVERIFY2(
            !time.isEmpty() && std::all_of(time.cbegin(), time.cend(), [](QChar c) { return c.isDigit(); }),
            qPrintable(time));
        QVERIFY(object.value(imageKey).toString().startsWith(m_server->baseURL().toString() + u"/images/"_s));
        if (!live && !series)
            QCOMPARE(object.value(u"container_extension"_s).toString(), expected[row].extension);
    }
    if (!live && !expected.isEmpty()) {
        const CatalogKind kind = series ? CatalogKind::series : CatalogKind::movies;
        const QList<CatalogItem> items = XtreamReaders::catalogItems(response.body, kind, QString());
        QCOMPARE(items.size(), expected.size());
        QCOMPARE(items.last().name, expected.last().name);
        QVERIFY(items.first().poster.has_value());
        QCOMPARE(items.first().year.size(), 4);
    }
}

void ProviderTest::movieDetails_data()
{
    QTest::addColumn<int>("index"); // −1: an id the provider does not have
    QTest::newRow("first") << 0;
    QTest::newRow("last") << m_server->catalog().movieCount() - 1;
    QTest::newRow("Matroska") << movieWithExtension(u"mkv"_s);
    QTest::newRow("unknown") << -1;
}

void ProviderTest::movieDetails()
{
    QFETCH(int, index);
    const ProviderCatalog &catalog = m_server->catalog();
    const QString id = index >= 0 ? QString::number(catalog.movieID(index)) : u"123"_s;
    const Response response = fetch(
        m_network, url(u"/player_api.php?username=demo&password=demo&action=get_vod_info&vod_id="_s + id));
    QCOMPARE(response.status, 200);
    const QJsonObject answer = json(response.body).object();
    if (index < 0) {
        QVERIFY(answer.value(u"info"_s).isArray());
        QVERIFY(!answer.contains(u"movie_data"_s));
        return;
    }
    const QJsonObject info = answer.value(u"info"_s).toObject();
    const QJsonObject data = answer.value(u"movie_data"_s).toObject();
    QCOMPARE(info.value(u"name"_s).toString(), catalog.movieName(index));
    QCOMPARE(info.value(u"duration_secs"_s).toInt(), ProviderCatalog::movieSeconds);
    QVERIFY(!info.value(u"plot"_s).toString().isEmpty());
    QCOMPARE(qint64(data.value(u"stream_id"_s).toDouble()), catalog.movieID(index));
    QCOMPARE(data.value(u"container_extension"_s).toString(), catalog.movieExtension(index));

    // The application turns it into a playable address, and that address serves the file.
    CatalogItem item;
    item.id = id;
    item.kind = CatalogKind::movies;
    item.name = catalog.movieName(index);
    const CatalogDetail detail = XtreamReaders::catalogDetail(response.body, xtreamSource(), item);
    QVERIFY(detail.movie.has_value());
    QCOMPARE(detail.movie->url(), url(u"/movie/demo/demo/"_s + id + u'.' + catalog.movieExtension(index)));
    if (m_server->mediaAvailable()) {
        const Response file = fetch(m_network, detail.movie->url(), "HEAD");
        QCOMPARE(file.status, 200);
        QCOMPARE(file.header("content-length").toLongLong(),
            qint64(m_server->media().movie(catalog.movieExtension(index)).size()));
    }
}

void ProviderTest::seriesDetails_data()
{
    QTest::addColumn<int>("index");
    for (int index = 0; index < m_server->catalog().seriesCount(); ++index)
        QTest::addRow("series %d", index) << index;
    QTest::newRow("unknown") << -1;
}

void ProviderTest::seriesDetails()
{
    QFETCH(int, index);
    const ProviderCatalog &catalog = m_server->catalog();
    const QString id = index >= 0 ? QString::number(catalog.seriesID(index)) : u"77"_s;
    const Response response = fetch(m_network,
        url(u"/player_api.php?username=demo&password=demo&action=get_series_info&series_id="_s + id));
    QCOMPARE(response.status, 200);
    const QJsonObject answer = json(response.body).object();
    if (index < 0) {
        QCOMPARE(answer.value(u"seasons"_s).toArray().size(), 0);
        QVERIFY(answer.value(u"info"_s).toObject().value(u"name"_s).isNull());
        return;
    }
    QCOMPARE(answer.value(u"info"_s).toObject().value(u"name"_s).toString(), catalog.seriesName(index));

    const QList<int> seasons = catalog.seasons(index);
    QVERIFY(!seasons.isEmpty());
    const QJsonArray seasonRows = answer.value(u"seasons"_s).toArray();
    QCOMPARE(seasonRows.size(), seasons.size());
    const QJsonObject episodes = answer.value(u"episodes"_s).toObject();
    QStringList keys;
    for (const int season : seasons)
        keys.append(QString::number(season));
    QCOMPARE(episodes.keys(), keys);
    int total = 0;
    for (qsizetype position = 0; position < seasons.size(); ++position) {
        const int season = seasons[position];
        QCOMPARE(seasonRows[position][u"season_number"_s].toInt(), season);
        QCOMPARE(seasonRows[position][u"episode_count"_s].toInt(), catalog.episodeCount(index, season));
        const QJsonArray list = episodes.value(QString::number(season)).toArray();
        QCOMPARE(list.size(), catalog.episodeCount(index, season));
        for (qsizetype row = 0; row < list.size(); ++row) {
            const int number = int(row) + 1;
            const QJsonObject episode = list[row].toObject();
            QVERIFY(episode.value(u"id"_s).isString());
            QCOMPARE(
                episode.value(u"id"_s).toString(), QString::number(catalog.episodeID(index, season, number)));
            QCOMPARE(episode.value(u"episode_num"_s).toVariant().toInt(), number);
            QCOMPARE(episode.value(u"title"_s).toString(), catalog.episodeTitle(index, season, number));
            QCOMPARE(episode.value(u"container_extension"_s).toString(), catalog.seriesExtension(index));
            const QJsonObject info = episode.value(u"info"_s).toObject();
            QVERIFY(!info.value(u"plot"_s).toString().isEmpty());
            QVERIFY(info.value(u"movie_image"_s).toString().startsWith(m_server->baseURL().toString()));
            QCOMPARE(info.value(u"duration_secs"_s).toInt(), ProviderCatalog::movieSeconds);
            const std::optional<ProviderCatalog::EpisodePlace> place
                = catalog.episodePlace(catalog.episodeID(index, season, number));
            QVERIFY(place.has_value());
            QCOMPARE(place->series, index);
            QCOMPARE(place->season, season);
            QCOMPARE(place->number, number);
            ++total;
        }
    }

    CatalogItem item;
    item.id = id;
    item.kind = CatalogKind::series;
    item.name = catalog.seriesName(index);
    const CatalogDetail detail = XtreamReaders::catalogDetail(response.body, xtreamSource(), item);
    QCOMPARE(detail.episodes.size(), total);
    QCOMPARE(detail.seasons(), QList<qint64>(seasons.cbegin(), seasons.cend()));
    if (m_server->mediaAvailable()) {
        const Response file = fetch(m_network, detail.episodes.last().channel.url(), "HEAD");
        QCOMPARE(file.status, 200);
        QCOMPARE(file.header("content-type"),
            catalog.seriesExtension(index) == u"mkv"_s ? QByteArray("video/x-matroska")
                                                       : QByteArray("video/mp4"));
    }
}

// The guide in its three forms, and the short guide of the Xtream interface, agree on what is on now.
void ProviderTest::theGuideFollowsTheClock()
{
    const Response file = fetch(m_network, url(u"/guide.xml.gz"_s));
    QCOMPARE(file.status, 200);
    QVERIFY(file.body.startsWith("\x1f\x8b"));
    const Response compressed = fetch(m_network, url(u"/guide.xml"_s), "GET", {{"Accept-Encoding", "gzip"}});
    QCOMPARE(compressed.header("content-encoding"), QByteArray("gzip"));
    QCOMPARE(fetch(m_network, url(u"/xmltv.php?username=demo&password=nope"_s)).status, 403);
    const Response plain
        = fetch(m_network, url(u"/xmltv.php?username=demo&password=demo"_s), "GET", {{"Accept-Encoding", "identity"}});
    QCOMPARE(plain.status, 200);
    QVERIFY(plain.header("content-encoding").isEmpty());

    // What the first channel shows now, read from the XMLTV with its time offset applied.
    const qint64 now = QDateTime::currentSecsSinceEpoch();
    const QString guideID = m_server->catalog().liveChannelGuideID(0);
    QXmlStreamReader xml(plain.body);
    QString titleNow;
    int channels = 0;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (xml.name() == u"channel"_s)
            ++channels;
        if (xml.name() != u"programme"_s || xml.attributes().value(u"channel"_s) != guideID)
            continue;
        // "20261123210000 +0100": the wall time, then its offset from UTC.
        const auto time = [&](const QString &name) {
            const QString text = xml.attributes().value(name).toString();
            QDateTime wall = QDateTime::fromString(text.left(14), u"yyyyMMddHHmmss"_s);
            wall.setTimeZone(QTimeZone::utc());
            const int offset = (text.mid(16, 2).toInt() * 60 + text.mid(18, 2).toInt()) * 60;
            return wall.toSecsSinceEpoch() - (text.at(15) == u'-' ? -offset : offset);
        };
        const qint64 start = time(u"start"_s);
        const qint64 stop = time(u"stop"_s);
        QVERIFY(start < stop);
        if (start <= now && now < stop) {
            xml.readNextStartElement();
            titleNow = xml.readElementText();
        }
    }
    QVERIFY2(!xml.hasError(), qPrintable(xml.errorString()));
    QCOMPARE(channels, std::min(ProviderGuide::coveredChannels, m_server->catalog().liveChannelCount()));
    QVERIFY(!titleNow.isEmpty());

    const qint64 stream = m_server->catalog().liveChannelID(0);
    const QJsonObject shortGuide = json(fetch(m_network,
        url(u"/player_api.php?username=demo&password=demo&action=get_short_epg&limit=3&stream_id=%1"_s.arg(stream)))
                                            .body)
                                       .object();
    const QJsonArray listings = shortGuide.value(u"epg_listings"_s).toArray();
    QCOMPARE(listings.size(), 3);
    const QJsonObject first = listings.first().toObject();
    QVERIFY(first.value(u"start_timestamp"_s).toString().toLongLong() <= now);
    QVERIFY(now < first.value(u"stop_timestamp"_s).toString().toLongLong());
    QCOMPARE(QString::fromUtf8(QByteArray::fromBase64(first.value(u"title"_s).toString().toLatin1())), titleNow);
    QCOMPARE(listings.at(1).toObject().value(u"start_timestamp"_s), first.value(u"stop_timestamp"_s));
}

void ProviderTest::liveListReadByTheApplication()
{
    const Response categories = fetch(
        m_network, url(u"/player_api.php?username=tsonly&password=tsonly&action=get_live_categories"_s));
    const Response streams
        = fetch(m_network, url(u"/player_api.php?username=tsonly&password=tsonly&action=get_live_streams"_s));
    QCOMPARE(streams.status, 200);
    const QList<Channel> channels = XtreamReaders::liveStreams(
        streams.body, xtreamSource(u"tsonly"_s), u"ts"_s, XtreamReaders::liveCategories(categories.body));
    const ProviderCatalog &catalog = m_server->catalog();
    QCOMPARE(channels.size(), catalog.liveChannelCount());
    for (int index = 0; index < catalog.liveChannelCount(); ++index) {
        QCOMPARE(channels[index].name(), catalog.liveChannelName(index));
        QCOMPARE(channels[index].group(), catalog.liveCategoryName(catalog.liveChannelCategory(index)));
        QCOMPARE(channels[index].url(), url(livePath(index, u"ts"_s, u"tsonly"_s)));
    }
}

void ProviderTest::streamAddressesCheckCredentials_data()
{
    const ProviderCatalog &catalog = m_server->catalog();
    const QString regular = QString::number(catalog.liveChannelID(0));
    const QString missing = QString::number(
        catalog.liveChannelID(catalog.liveChannelIndex(ProviderCatalog::LiveKind::missing)));
    const int mp4 = movieWithExtension(u"mp4"_s);
    const QString movie = QString::number(catalog.movieID(mp4));
    const QString episode = QString::number(catalog.episodeID(0, catalog.seasons(0).last(), 1));
    const QString episodeExtension = catalog.seriesExtension(0);

    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("status");
    QTest::newRow("live TS, demo") << u"/live/demo/demo/"_s + regular + u".ts"_s << 200;
    QTest::newRow("live HLS, demo") << u"/live/demo/demo/"_s + regular + u".m3u8"_s << 200;
    QTest::newRow("live TS, TS-only account") << u"/live/tsonly/tsonly/"_s + regular + u".ts"_s << 200;
    QTest::newRow("live HLS, TS-only account") << u"/live/tsonly/tsonly/"_s + regular + u".m3u8"_s << 403;
    QTest::newRow("live, expired account") << u"/live/expired/expired/"_s + regular + u".ts"_s << 403;
    QTest::newRow("live, wrong password") << u"/live/demo/wrong/"_s + regular + u".ts"_s << 403;
    QTest::newRow("live, unknown channel") << u"/live/demo/demo/999999.ts"_s << 404;
    QTest::newRow("live, other format") << u"/live/demo/demo/"_s + regular + u".mp4"_s << 404;
    QTest::newRow("live, channel that answers 404") << u"/live/demo/demo/"_s + missing + u".ts"_s << 404;
    QTest::newRow("live HLS segment, wrong password") << u"/live/demo/x/"_s + regular + u"/3.ts"_s << 403;
    QTest::newRow("movie") << u"/movie/demo/demo/"_s + movie + u".mp4"_s << 200;
    QTest::newRow("movie, another container") << u"/movie/demo/demo/"_s + movie + u".mkv"_s << 404;
    QTest::newRow("movie, expired account") << u"/movie/expired/expired/"_s + movie + u".mp4"_s << 403;
    QTest::newRow("movie, unknown") << u"/movie/demo/demo/1.mp4"_s << 404;
    QTest::newRow("episode") << u"/series/demo/demo/"_s + episode + u'.' + episodeExtension << 200;
    QTest::newRow("episode, wrong user") << u"/series/x/demo/"_s + episode + u'.' + episodeExtension << 403;
    QTest::newRow("episode, unknown") << u"/series/demo/demo/7.mp4"_s << 404;
    QTest::newRow("movie id as an episode") << u"/series/demo/demo/"_s + movie + u".mp4"_s << 404;
}

void ProviderTest::streamAddressesCheckCredentials()
{
    QFETCH(QString, path);
    QFETCH(int, status);
    if (status == 200)
        QUENVO_REQUIRE_MEDIA();
    // HEAD: the answer's head without starting a stream.
    const Response response = fetch(m_network, url(path), "HEAD");
    QVERIFY(response.finished);
    QCOMPARE(response.status, status);
}

void ProviderTest::rangeRequests_data()
{
    QTest::addColumn<QString>("extension");
    QTest::addColumn<QByteArray>("range");
    QTest::addColumn<int>("status");
    // Negative `first` counts from the end; `last` −1 is the last byte.
    QTest::addColumn<qint64>("first");
    QTest::addColumn<qint64>("last");
    QTest::newRow("first bytes") << u"mp4"_s << QByteArray("bytes=0-99") << 206 << qint64(0) << qint64(99);
    QTest::newRow("one byte") << u"mp4"_s << QByteArray("bytes=5000-5000") << 206 << qint64(5000)
                              << qint64(5000);
    QTest::newRow("open end") << u"mp4"_s << QByteArray("bytes=1000-") << 206 << qint64(1000) << qint64(-1);
    QTest::newRow("suffix") << u"mp4"_s << QByteArray("bytes=-500") << 206 << qint64(-500) << qint64(-1);
    QTest::newRow("past the end, clamped")
        << u"mkv"_s << QByteArray("bytes=10-999999999") << 206 << qint64(10) << qint64(-1);
    QTest::newRow("Matroska middle") << u"mkv"_s << QByteArray("bytes=65536-196607") << 206 << qint64(65536)
                                     << qint64(196607);
    QTest::newRow("start past the end")
        << u"mp4"_s << QByteArray("bytes=999999999-") << 416 << qint64(0) << qint64(0);
    QTest::newRow("several ranges: whole file")
        << u"mp4"_s << QByteArray("bytes=0-1,5-9") << 200 << qint64(0) << qint64(-1);
    QTest::newRow("other unit: whole file")
        << u"mp4"_s << QByteArray("items=0-5") << 200 << qint64(0) << qint64(-1);
    QTest::newRow("no range") << u"mp4"_s << QByteArray() << 200 << qint64(0) << qint64(-1);
}

void ProviderTest::rangeRequests()
{
    QUENVO_REQUIRE_MEDIA();
    QFETCH(QString, extension);
    QFETCH(QByteArray, range);
    QFETCH(int, status);
    QFETCH(qint64, first);
    QFETCH(qint64, last);

    // What the file on disk holds, read independently of the server.
    QFile file(m_server->media().moviePath(extension));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray whole = file.readAll();
    const qint64 size = whole.size();
    QVERIFY(size > 200000);
    if (first < 0)
        first += size;
    if (last < 0)
        last = size - 1;

    const int index = movieWithExtension(extension);
    QVERIFY(index >= 0);
    const QString path
        = u"/movie/demo/demo/"_s + QString::number(m_server->catalog().movieID(index)) + u'.' + extension;
    Headers headers;
    if (!range.isEmpty())
        headers.append({"Range", range});
    const Response response = fetch(m_network, url(path), "GET", headers);
    QCOMPARE(response.status, status);
    QCOMPARE(response.header("accept-ranges").isEmpty(), status == 416);
    if (status == 416) {
        QCOMPARE(response.header("content-range"), "bytes */" + QByteArray::number(size));
        return;
    }
    QCOMPARE(qint64(response.body.size()), last - first + 1);
    QVERIFY(response.body == whole.mid(first, last - first + 1));
    if (status == 206) {
        QCOMPARE(response.header("content-range"),
            "bytes " + QByteArray::number(first) + '-' + QByteArray::number(last) + '/'
                + QByteArray::number(size));
    }
}

void ProviderTest::liveStreamLoopsTransportStream_data()
{
    const ProviderCatalog &catalog = m_server->catalog();
    QTest::addColumn<int>("index");
    QTest::newRow("first channel") << 0;
    QTest::newRow("fourth channel") << 3;
    QTest::newRow("radio") << catalog.liveChannelIndex(ProviderCatalog::LiveKind::radio);
}

void ProviderTest::liveStreamLoopsTransportStream()
{
    QUENVO_REQUIRE_MEDIA();
    QFETCH(int, index);
    const QByteArray clip = m_server->media().live(m_server->catalog().liveClipOf(index)).stream;
    QVERIFY(!clip.isEmpty());
    // A clip and a half: the stream must go on past the clip's end, starting it again.
    const qsizetype wanted = clip.size() + clip.size() / 2;

    std::unique_ptr<QNetworkReply> reply(m_network.get(QNetworkRequest(url(livePath(index, u"ts"_s)))));
    QByteArray received;
    connect(reply.get(), &QNetworkReply::readyRead, this, [&] { received += reply->readAll(); });
    QTRY_VERIFY_WITH_TIMEOUT(received.size() >= wanted || reply->isFinished(), 30000);
    QVERIFY2(!reply->isFinished(), qPrintable(reply->errorString()));
    QCOMPARE(reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), 200);
    QCOMPARE(reply->header(QNetworkRequest::ContentTypeHeader).toString(), u"video/mp2t"_s);
    QVERIFY(m_server->activeStreams() >= 1);

    QCOMPARE(firstUnsyncedPacket(received), qsizetype(-1));
    QVERIFY(received.left(clip.size()) == clip);
    QVERIFY(received.mid(clip.size(), wanted - clip.size()) == clip.left(wanted - clip.size()));

    // A client that leaves ends the stream on the server.
    reply->abort();
    QTRY_COMPARE_WITH_TIMEOUT(m_server->activeStreams(), 0, 10000);
}

void ProviderTest::hlsPlaylistsAndSegments_data()
{
    const ProviderCatalog &catalog = m_server->catalog();
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("clip");
    QTest::addColumn<bool>("ended");
    const int hls = catalog.liveChannelIndex(ProviderCatalog::LiveKind::hls);
    const int radio = catalog.liveChannelIndex(ProviderCatalog::LiveKind::radio);
    const int shortLived = catalog.liveChannelIndex(ProviderCatalog::LiveKind::shortLived);
    QTest::newRow("HLS stream as a playlist") << u"/hls.m3u8"_s << catalog.liveClipOf(hls) << false;
    QTest::newRow("HLS test channel") << livePath(hls, u"m3u8"_s) << catalog.liveClipOf(hls) << false;
    QTest::newRow("regular channel") << livePath(2, u"m3u8"_s) << catalog.liveClipOf(2) << false;
    QTest::newRow("radio") << livePath(radio, u"m3u8"_s) << catalog.liveClipOf(radio) << false;
    QTest::newRow("short-lived channel")
        << livePath(shortLived, u"m3u8"_s) << catalog.liveClipOf(shortLived) << true;
}

void ProviderTest::hlsPlaylistsAndSegments()
{
    QUENVO_REQUIRE_MEDIA();
    QFETCH(QString, path);
    QFETCH(int, clip);
    QFETCH(bool, ended);
    const ProviderMedia::LiveMedia &media = m_server->media().live(clip);
    const Response playlist = fetch(m_network, url(path));
    QCOMPARE(playlist.status, 200);
    const QList<QByteArray> lines = playlist.body.split('\n');
    QCOMPARE(lines.first(), "#EXTM3U");
    QVERIFY(playlist.body.contains("#EXT-X-TARGETDURATION:"));
    QCOMPARE(playlist.body.contains("#EXT-X-ENDLIST"), ended);

    // Read as a playlist, an HLS stream is one channel: itself.
    const QList<Channel> asPlaylist = M3UParser::parse(QString::fromUtf8(playlist.body), url(path));
    QCOMPARE(asPlaylist.size(), 1);
    QCOMPARE(asPlaylist.first().url(), url(path));

    QList<QUrl> segments;
    QList<qint64> sequences;
    qint64 sequence = -1;
    for (const QByteArray &line : lines) {
        if (line.startsWith("#EXT-X-MEDIA-SEQUENCE:"))
            sequence = line.mid(22).toLongLong();
        if (line.isEmpty() || line.startsWith('#'))
            continue;
        segments.append(url(path).resolved(QUrl(QString::fromUtf8(line))));
        sequences.append(sequence++);
    }
    QCOMPARE(segments.size(), ended ? media.segments.size() : qsizetype(4));
    for (qsizetype index = 0; index < segments.size(); ++index) {
        const Response segment = fetch(m_network, segments[index]);
        QCOMPARE(segment.status, 200);
        QCOMPARE(segment.header("content-type"), "video/mp2t");
        QCOMPARE(firstUnsyncedPacket(segment.body), qsizetype(-1));
        QVERIFY(segment.body == media.segments[sequences[index] % media.segments.size()]);
    }
}

void ProviderTest::stalledChannelSendsOnlyTheHead()
{
    const ProviderCatalog &catalog = m_server->catalog();
    const int stalled = catalog.liveChannelIndex(ProviderCatalog::LiveKind::stalled);
    QTRY_COMPARE_WITH_TIMEOUT(m_server->activeStreams(), 0, 10000);

    std::unique_ptr<QNetworkReply> reply(m_network.get(QNetworkRequest(url(livePath(stalled, u"ts"_s)))));
    QSignalSpy head(reply.get(), &QNetworkReply::metaDataChanged);
    QVERIFY(head.wait(10000));
    QCOMPARE(reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), 200);
    QCOMPARE(reply->header(QNetworkRequest::ContentTypeHeader).toString(), u"video/mp2t"_s);
    QVERIFY(!reply->isFinished());
    QCOMPARE(m_server->activeStreams(), 1);
    reply->abort();
    QTRY_COMPARE_WITH_TIMEOUT(m_server->activeStreams(), 0, 10000);
}

void ProviderTest::shortLivedChannelEnds()
{
    QUENVO_REQUIRE_MEDIA();
    const ProviderCatalog &catalog = m_server->catalog();
    const int index = catalog.liveChannelIndex(ProviderCatalog::LiveKind::shortLived);
    const QByteArray clip = m_server->media().live(catalog.liveClipOf(index)).stream;
    const Response response = fetch(m_network, url(livePath(index, u"ts"_s)));
    QVERIFY(response.finished);
    QCOMPARE(response.status, 200);
    QCOMPARE(response.header("content-length").toLongLong(), qint64(clip.size()));
    QVERIFY(response.body == clip);
    QTRY_COMPARE_WITH_TIMEOUT(m_server->activeStreams(), 0, 10000);
}

void ProviderTest::generatedMedia_data()
{
    const ProviderCatalog &catalog = m_server->catalog();
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("videos");
    QTest::addColumn<QStringList>("audioLanguages"); // one entry per audio stream
    QTest::addColumn<int>("subtitles");
    const QString mp4 = QString::number(catalog.movieID(movieWithExtension(u"mp4"_s)));
    const QString mkv = QString::number(catalog.movieID(movieWithExtension(u"mkv"_s)));
    const QStringList movieLanguages = {u"cat"_s, u"eng"_s};
    QTest::newRow("movie, MP4") << u"/movie/demo/demo/"_s + mp4 + u".mp4"_s << 1 << movieLanguages << 1;
    QTest::newRow("movie, Matroska") << u"/movie/demo/demo/"_s + mkv + u".mkv"_s << 1 << movieLanguages << 1;
    QTest::newRow("live channel") << livePath(0, u"ts"_s) << 1 << QStringList {QString()} << 0;
    QTest::newRow("radio") << livePath(catalog.liveChannelIndex(ProviderCatalog::LiveKind::radio), u"ts"_s)
                           << 0 << QStringList {QString()} << 0;
    QTest::newRow("HLS stream") << u"/hls.m3u8"_s << 1 << QStringList {QString()} << 0;
}

void ProviderTest::generatedMedia()
{
    QUENVO_REQUIRE_MEDIA();
    if (probeProgram().isEmpty())
        QSKIP("ffprobe is not installed");
    QFETCH(QString, path);
    QFETCH(int, videos);
    QFETCH(QStringList, audioLanguages);
    QFETCH(int, subtitles);

    // ffprobe reads from the server like a player would (seeking in the files through ranges);
    // the server answers from its own thread while this one waits.
    QProcess probe;
    probe.start(
        probeProgram(), {u"-v"_s, u"error"_s, u"-show_streams"_s, u"-of"_s, u"json"_s, url(path).toString()});
    QVERIFY(probe.waitForFinished(60000));
    QCOMPARE(probe.exitCode(), 0);
    const QJsonArray streams = json(probe.readAllStandardOutput()).object().value(u"streams"_s).toArray();

    int videoCount = 0;
    int subtitleCount = 0;
    QStringList languages;
    for (const QJsonValue &stream : streams) {
        const QString type = stream[u"codec_type"_s].toString();
        if (type == u"video"_s) {
            ++videoCount;
            QCOMPARE(stream[u"codec_name"_s].toString(), u"h264"_s);
            QCOMPARE(stream[u"width"_s].toInt(), 640);
            QCOMPARE(stream[u"height"_s].toInt(), 360);
            QCOMPARE(stream[u"r_frame_rate"_s].toString(), u"25/1"_s);
        } else if (type == u"audio"_s) {
            QCOMPARE(stream[u"codec_name"_s].toString(), u"aac"_s);
            languages.append(stream[u"tags"_s][u"language"_s].toString());
        } else if (type == u"subtitle"_s) {
            ++subtitleCount;
            QCOMPARE(stream[u"tags"_s][u"language"_s].toString(), u"cat"_s);
        }
    }
    QCOMPARE(videoCount, videos);
    QCOMPARE(languages, audioLanguages);
    QCOMPARE(subtitleCount, subtitles);
}

void ProviderTest::keepAliveAndPipelining()
{
    const QByteArray categoriesPath
        = "/player_api.php?username=demo&password=demo&action=get_live_categories";
    const QByteArray received = exchange(m_server->port(),
        "GET " + categoriesPath
            + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n"
              "HEAD /playlist.m3u HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n"
              "GET /nothing HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n");
    const QList<RawResponse> responses = splitResponses(received, {false, true, false});
    QCOMPARE(responses.size(), 3);
    QCOMPARE(responses[0].status, 200);
    QCOMPARE(responses[0].headers.value("connection"), "keep-alive");
    QCOMPARE(responses[0].body, fetch(m_network, url(QString::fromLatin1(categoriesPath))).body);
    QCOMPARE(responses[1].status, 200);
    QCOMPARE(responses[1].headers.value("content-length").toLongLong(),
        qint64(fetch(m_network, url(u"/playlist.m3u"_s)).body.size()));
    QCOMPARE(responses[2].status, 404);
    QCOMPARE(responses[2].headers.value("connection"), "close");
}

void ProviderTest::malformedRequests_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<int>("status");
    QTest::newRow("not HTTP") << QByteArray("hello\r\n\r\n") << 400;
    QTest::newRow("relative target") << QByteArray("GET playlist.m3u HTTP/1.1\r\n\r\n") << 400;
    QTest::newRow("header without a colon") << QByteArray("GET / HTTP/1.1\r\nHost\r\n\r\n") << 400;
    QTest::newRow("POST") << QByteArray("POST /player_api.php HTTP/1.1\r\nContent-Length: 3\r\n\r\nabc")
                          << 405;
    QTest::newRow("head too large") << QByteArray("GET / HTTP/1.1\r\nX-Long: " + QByteArray(20000, 'a')
        + "\r\n\r\n") << 431;
    QTest::newRow("HTTP/1.0 closes") << QByteArray("GET / HTTP/1.0\r\n\r\n") << 200;
}

void ProviderTest::malformedRequests()
{
    QFETCH(QByteArray, request);
    QFETCH(int, status);
    // exchange() returns once the server closes the connection: every one of these must close it.
    const QList<RawResponse> responses = splitResponses(exchange(m_server->port(), request), {false});
    QCOMPARE(responses.size(), 1);
    QCOMPARE(responses.first().status, status);
    QCOMPARE(responses.first().headers.value("connection"), "close");
}

void ProviderTest::manyClientsAndStop()
{
    QUENVO_REQUIRE_MEDIA();
    // A server of its own, so that its counters see only these clients; the media is cached.
    ProviderOptions options = m_server->options();
    options.liveBurstSeconds = 2;
    ProviderServer server(options);
    QVERIFY(server.start());
    const ProviderCatalog &catalog = server.catalog();
    const int movie = movieWithExtension(u"mp4"_s);

    constexpr int clientCount = 48;
    std::vector<std::unique_ptr<QTcpSocket>> clients;
    std::vector<qint64> received(clientCount, 0);
    for (int client = 0; client < clientCount; ++client) {
        const QByteArray path = client % 3 == 2
            ? "/movie/demo/demo/" + QByteArray::number(catalog.movieID(movie)) + ".mp4"
            : "/live/demo/demo/" + QByteArray::number(catalog.liveChannelID(client % 8)) + ".ts";
        auto socket = std::make_unique<QTcpSocket>();
        connect(socket.get(), &QTcpSocket::readyRead, this, [&received, client, raw = socket.get()] {
            received[std::size_t(client)] += raw->readAll().size();
        });
        socket->connectToHost(QHostAddress::LocalHost, server.port());
        socket->write("GET " + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
        clients.push_back(std::move(socket));
    }
    const auto everyoneHas = [&](qint64 bytes, int from) {
        for (int client = from; client < clientCount; ++client) {
            if (received[std::size_t(client)] < bytes)
                return false;
        }
        return true;
    };
    QTRY_VERIFY_WITH_TIMEOUT(everyoneHas(100000, 0), 30000);
    const int liveClients = clientCount - clientCount / 3;
    QTRY_COMPARE_WITH_TIMEOUT(server.activeStreams(), liveClients, 10000);
    QCOMPARE(server.openConnections(), clientCount);

    // Half of them leave without a word, in the middle of their answers.
    for (int client = 0; client < clientCount / 2; ++client)
        clients[std::size_t(client)]->abort();
    QTRY_COMPARE_WITH_TIMEOUT(server.openConnections(), clientCount / 2, 10000);
    // The live ones that stay keep receiving, and the server still answers new requests.
    const std::vector<qint64> marks = received;
    const auto liveOnesMoved = [&] {
        for (int client = clientCount / 2; client < clientCount; ++client) {
            if (client % 3 != 2 && received[std::size_t(client)] <= marks[std::size_t(client)])
                return false;
        }
        return true;
    };
    QTRY_VERIFY_WITH_TIMEOUT(liveOnesMoved(), 30000);
    QNetworkAccessManager network;
    QCOMPARE(fetch(network, server.url(u"/player_api.php?username=demo&password=demo"_s)).status, 200);

    // Stopping drops everyone, stalled streams included, and returns.
    std::unique_ptr<QNetworkReply> stalled(network.get(QNetworkRequest(
        server.url(livePath(catalog.liveChannelIndex(ProviderCatalog::LiveKind::stalled), u"ts"_s)))));
    QSignalSpy head(stalled.get(), &QNetworkReply::metaDataChanged);
    QVERIFY(head.wait(10000));
    server.stop();
    QVERIFY(!server.isListening());
    QCOMPARE(server.openConnections(), 0);
    QCOMPARE(server.activeStreams(), 0);
    for (int client = clientCount / 2; client < clientCount; ++client)
        QTRY_COMPARE_WITH_TIMEOUT(
            clients[std::size_t(client)]->state(), QAbstractSocket::UnconnectedState, 10000);
    QTRY_VERIFY_WITH_TIMEOUT(stalled->isFinished(), 10000);
}

void ProviderTest::takenPortIsReported()
{
    ProviderOptions options = m_server->options();
    options.generateMedia = false;
    ProviderServer server(options);
    QVERIFY(!server.start(m_server->port()));
    QVERIFY(!server.isListening());
    QVERIFY(!server.errorString().isEmpty());
    // A failed start leaves the server ready to start again.
    QVERIFY2(server.start(), qPrintable(server.errorString()));
    QVERIFY(server.port() != m_server->port());
    // Same catalogue, on another address.
    QNetworkAccessManager network;
    const QByteArray mine = fetch(network, server.url(u"/playlist.m3u"_s)).body;
    QByteArray theirs = fetch(m_network, url(u"/playlist.m3u"_s)).body;
    theirs.replace("127.0.0.1:" + QByteArray::number(m_server->port()),
        "127.0.0.1:" + QByteArray::number(server.port()));
    QVERIFY(!mine.isEmpty());
    QCOMPARE(mine, theirs);
}

void ProviderTest::largeCatalogueWithoutMedia()
{
    ProviderOptions options;
    options.liveChannels = 50000;
    options.movies = 20000;
    options.series = 5000;
    options.categories = 30;
    options.generateMedia = false;
    ProviderServer server(options);
    QVERIFY(server.start());
    QVERIFY(!server.mediaAvailable());
    const ProviderCatalog &catalog = server.catalog();
    QNetworkAccessManager network;

    const Response categories = fetch(
        network, server.url(u"/player_api.php?username=demo&password=demo&action=get_live_categories"_s));
    const Response streams = fetch(
        network, server.url(u"/player_api.php?username=demo&password=demo&action=get_live_streams"_s));
    QCOMPARE(streams.status, 200);
    const PlaylistSource source(QUuid::createUuid(), u"Gran"_s, server.baseURL().toString(), u"demo"_s,
        u"demo"_s, PlaylistSource::Kind::xtream);
    const QList<Channel> channels = XtreamReaders::liveStreams(
        streams.body, source, u"m3u8"_s, XtreamReaders::liveCategories(categories.body));
    QCOMPARE(channels.size(), 50000);
    QCOMPARE(channels.last().name(), catalog.liveChannelName(49999));
    QCOMPARE(channels[30000].name(), catalog.liveChannelName(30000));

    const Response playlist = fetch(network, server.url(u"/playlist.m3u"_s));
    QCOMPARE(
        M3UParser::parse(QString::fromUtf8(playlist.body), server.url(u"/playlist.m3u"_s)).size(), 50000);

    const Response movies
        = fetch(network, server.url(u"/player_api.php?username=demo&password=demo&action=get_vod_streams"_s));
    QCOMPARE(XtreamReaders::catalogItems(movies.body, CatalogKind::movies, QString()).size(), 20000);
    const Response series
        = fetch(network, server.url(u"/player_api.php?username=demo&password=demo&action=get_series"_s));
    QCOMPARE(XtreamReaders::catalogItems(series.body, CatalogKind::series, QString()).size(), 5000);

    // Without media the lists still work and every media address says why it cannot play.
    for (const QString &path : {u"/live/demo/demo/1001.ts"_s, u"/hls.m3u8"_s, u"/images/logo-1.png"_s,
             u"/movie/demo/demo/"_s + QString::number(catalog.movieID(0)) + u'.'
                 + catalog.movieExtension(0)}) {
        const Response response = fetch(network, server.url(path));
        QCOMPARE(response.status, 503);
    }
}

void ProviderTest::posterPerTitle_data()
{
    QTest::addColumn<bool>("perTitle");
    QTest::newRow("shared posters") << false;
    QTest::newRow("a poster per title") << true;
}

// Every movie, series and episode names its own poster address, all served with the same bytes;
// the server counts the requests per address.
void ProviderTest::posterPerTitle()
{
    QFETCH(bool, perTitle);
    ProviderOptions options;
    options.movies = 12;
    options.series = 3;
    options.generateMedia = false;
    options.posterPerTitle = perTitle;
    const QByteArray picture = QByteArrayLiteral("\xff\xd8 a poster");
    for (int poster = 1; poster <= ProviderCatalog::posterCount; ++poster)
        options.extraImages.insert(u"poster-%1.jpg"_s.arg(poster), picture);
    ProviderServer server(options);
    QVERIFY(server.start());
    const ProviderCatalog &catalog = server.catalog();
    QNetworkAccessManager network;
    const QString api = u"/player_api.php?username=demo&password=demo&action="_s;

    QSet<QString> addresses;
    const QJsonArray movies = json(fetch(network, server.url(api + u"get_vod_streams"_s)).body).array();
    QCOMPARE(movies.size(), 12);
    for (int index = 0; index < movies.size(); ++index) {
        const QString icon = movies[index].toObject().value(u"stream_icon"_s).toString();
        const QString query = u"?movie="_s + QString::number(catalog.movieID(index));
        QCOMPARE(icon.endsWith(query), perTitle);
        addresses.insert(icon);
    }
    const QJsonArray series = json(fetch(network, server.url(api + u"get_series"_s)).body).array();
    for (int index = 0; index < series.size(); ++index) {
        const QString cover = series[index].toObject().value(u"cover"_s).toString();
        QCOMPARE(cover.endsWith(u"?series="_s + QString::number(catalog.seriesID(index))), perTitle);
        addresses.insert(cover);
    }
    const QString seriesID = QString::number(catalog.seriesID(0));
    const QJsonObject detail = json(fetch(network, server.url(api + u"get_series_info&series_id="_s + seriesID)).body).object();
    int episodes = 0;
    const QJsonObject seasons = detail.value(u"episodes"_s).toObject();
    for (const QJsonValue &season : seasons) {
        for (const QJsonValue &episode : season.toArray()) {
            const QString image = episode.toObject().value(u"info"_s).toObject().value(u"movie_image"_s).toString();
            QCOMPARE(image.endsWith(u"?episode="_s + episode.toObject().value(u"id"_s).toString()), perTitle);
            addresses.insert(image);
            ++episodes;
        }
    }
    QVERIFY(episodes > 0);
    QCOMPARE(addresses.size(), perTitle ? 12 + series.size() + episodes : ProviderCatalog::posterCount);

    // Whatever the query, the same picture; each address counted on its own.
    const QString first = movies[0].toObject().value(u"stream_icon"_s).toString();
    for (int time = 0; time < 2; ++time)
        QCOMPARE(fetch(network, QUrl(first)).body, picture);
    const QString second = movies[1].toObject().value(u"stream_icon"_s).toString();
    QCOMPARE(fetch(network, QUrl(second)).body, picture);
    QCOMPARE(server.imageRequestCount(), 3);
    const QHash<QString, int> byAddress = server.imageRequestsByAddress();
    const auto pathAndQuery = [](const QString &address) {
        return QUrl(address).toString(QUrl::RemoveScheme | QUrl::RemoveAuthority);
    };
    if (perTitle) {
        QCOMPARE(byAddress.size(), 2);
        QCOMPARE(byAddress.value(pathAndQuery(first)), 2);
        QCOMPARE(byAddress.value(pathAndQuery(second)), 1);
    } else {
        QCOMPARE(byAddress.value(pathAndQuery(first)) + byAddress.value(pathAndQuery(second)), 3);
    }
}

// Delayed pictures are in progress together while the server goes on answering other requests.
void ProviderTest::delayedImagesAndCounters()
{
    ProviderOptions options;
    options.generateMedia = false;
    options.imageDelayMs = 1500;
    options.extraImages.insert(u"still.png"_s, QByteArrayLiteral("picture"));
    ProviderServer server(options);
    QVERIFY(server.start());

    constexpr int pictures = 5;
    std::vector<std::unique_ptr<QNetworkAccessManager>> networks;
    std::vector<std::unique_ptr<QNetworkReply>> replies;
    for (int index = 0; index < pictures; ++index) {
        networks.push_back(std::make_unique<QNetworkAccessManager>());
        const QString path = index == 0 ? u"/images/missing.png"_s : u"/images/still.png?n=%1"_s.arg(index);
        replies.emplace_back(networks.back()->get(QNetworkRequest(server.url(path))));
    }
    QTRY_COMPARE(server.imageAnswersInProgress(), pictures);
    QNetworkAccessManager other;
    const Response index = fetch(other, server.url(u"/"_s));
    QCOMPARE(index.status, 200);
    QCOMPARE(server.imageAnswersInProgress(), pictures); // still waiting for their delay

    for (const auto &reply : replies) {
        if (!reply->isFinished())
            QVERIFY(QSignalSpy(reply.get(), &QNetworkReply::finished).wait(10000));
    }
    // Without media only the extra pictures exist: the others are refused as usual, after the delay.
    QCOMPARE(replies[0]->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), 503);
    QCOMPARE(replies[1]->readAll(), QByteArrayLiteral("picture"));
    QTRY_COMPARE(server.imageAnswersInProgress(), 0);
    QCOMPARE(server.peakImageAnswers(), pictures);
    QCOMPARE(server.imageRequestCount(), pictures);
    QCOMPARE(server.imageRequestsByAddress().value(u"/images/still.png?n=3"_s), 1);
}

QTEST_GUILESS_MAIN(ProviderTest)
#include "tst_provider.moc"
