// The playlist and catalogue repositories over real HTTP, against a loopback server that records every
// request: the exact addresses and headers sent, their order and number (none when the connection is
// refused before any download), redirects, HTTP failures passed through, and cancellation mid-way;
// and playlist files on this computer, read with the same rules.

#include "LoopbackServer.h"
#include "Settled.h"
#include "Texts.h"
#include "XtreamTexts.h"
#include "async/Cancellation.h"
#include "records/IPTVError.h"
#include "repositories/CatalogRepository.h"
#include "repositories/LocalPlaylistFile.h"
#include "repositories/PlaylistRepository.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QUrlQuery>

#include <memory>
#include <optional>

using namespace Qt::StringLiterals;
using namespace XtreamTexts;
using Response = LoopbackServer::Response;
using Request = LoopbackServer::Request;

Q_DECLARE_METATYPE(LoopbackServer::Response)
Q_DECLARE_METATYPE(CatalogKind)

namespace {

const QString jsonError = u"<JsonError>"_s;
const QString cancelled = u"<cancelled>"_s;
const QString notUTF8 = u"La llista no utilitza una codificació UTF-8 vàlida."_s;
const QString notAPlaylist = u"La resposta no és una llista M3U vàlida."_s;
const QString invalidURL
    = u"Cal una URL HTTP o HTTPS vàlida. Escriu l’usuari i la contrasenya als camps corresponents."_s;
const QString needsCredentials = u"Indica l’usuari i la contrasenya del servidor."_s;
const QString needsBase
    = u"Introdueix l’adreça base del servidor, sense player_api.php, get.php ni paràmetres."_s;
const QString needsName = u"Posa un nom a la llista."_s;
const QString needsXtream = u"El catàleg de pel·lícules i sèries requereix una connexió Xtream Codes."_s;
const QString badCategory = u"Categoria no vàlida."_s;
const QString badTitle = u"Títol no vàlid."_s;
const QString noWebStreams = u"No s’han trobat canals HTTP o HTTPS a la llista."_s;
const QString tooLarge = u"La llista supera el límit de 25 MB."_s;

const QByteArray account
    = R"({"user_info":{"auth":1,"status":"Active","allowed_output_formats":["m3u8","ts"]}})";
const QByteArray tsAccount
    = R"({"user_info":{"auth":"1","status":"Active","allowed_output_formats":["ts"]}})";
const QByteArray liveCategories
    = R"([{"category_id":"1","category_name":"Esports"},{"category_id":"2","category_name":"Notícies"}])";
const QByteArray liveStreams =
    R"([{"stream_id":11,"name":"Esport 1","category_id":"1"},{"stream_id":"12","name":"Notícies 24","category_id":2},
        {"stream_id":"x","name":"Sense id"},{"stream_id":13,"name":"Altres","category_id":"9"}])";

PlaylistSource xtream(
    const QString &address, const QString &username = u"user"_s, const QString &password = u"pass"_s)
{
    return PlaylistSource(
        QUuid::createUuid(), u"Proveïdor"_s, address, username, password, PlaylistSource::Kind::xtream);
}

PlaylistSource m3u(
    const QString &address, const QString &username = QString(), const QString &password = QString())
{
    return PlaylistSource(
        QUuid::createUuid(), u"Llista"_s, address, username, password, PlaylistSource::Kind::m3u);
}

QString base(const LoopbackServer &server)
{
    return u"http://127.0.0.1:%1"_s.arg(server.port());
}

// Answers every player_api.php request with the answer of its action ("" for the account check).
void serveXtream(LoopbackServer &server, const QHash<QString, Response> &answers)
{
    server.setFallback([answers](const Request &request) {
        if (!request.path.endsWith(u"/player_api.php"_s))
            return Response::withStatus(404, "Not Found");
        const QString action = QUrlQuery(request.query).queryItemValue(u"action"_s);
        return answers.value(action, Response::withStatus(404, "Not Found"));
    });
}

QHash<QString, Response> workingProvider()
{
    return {
        {QString(), Response::ok(account, "application/json")},
        {u"get_live_categories"_s, Response::ok(liveCategories, "application/json")},
        {u"get_live_streams"_s, Response::ok(liveStreams, "application/json")},
    };
}

QList<QByteArray> targetsOf(const LoopbackServer &server)
{
    QList<QByteArray> targets;
    for (const Request &request : server.requests())
        targets.append(request.target);
    return targets;
}

// How a task ended: its failure text, empty when it succeeded.
template<typename T> QCoro::Task<QString> failureOf(QCoro::Task<T> task)
{
    const Outcome<T> outcome = co_await settled(std::move(task));
    co_return outcome.failure;
}

QStringList describe(const QList<Channel> &channels)
{
    QStringList described;
    for (const Channel &channel : channels)
        described.append(channel.name() + u" | "_s + channel.group() + u" | "_s
            + QString::fromLatin1(channel.encodedURL()));
    return described;
}

CatalogItem titleOf(const QString &id, CatalogKind kind)
{
    return CatalogItem {
        id, kind, u"Títol"_s, u"1"_s, std::nullopt, QString(), QString(), QString(), u"mp4"_s, 0};
}

// What one operation gives, one record per line, or how it failed. `operation` is "load", or for the
// catalogue "categories", "items" (of the category `argument`) or "detail" (of the title `argument`).
struct Ran
{
    QString failure;
    QStringList lines;
};

Ran run(const QString &operation, const PlaylistSource &source, CatalogKind kind, const QString &argument)
{
    const CatalogRepository repository;
    Ran ran;
    if (operation == u"load"_s) {
        const auto outcome = settle(PlaylistRepository().load(source));
        ran.failure = outcome.failure;
        ran.lines = describe(outcome.value.value_or(QList<Channel>()));
    } else if (operation == u"categories"_s) {
        const auto outcome = settle(repository.categories(source, kind));
        ran.failure = outcome.failure;
        for (const CatalogCategory &category : outcome.value.value_or(QList<CatalogCategory>()))
            ran.lines.append(category.id + u' ' + category.name);
    } else if (operation == u"items"_s) {
        const auto outcome = settle(repository.items(source, kind, argument));
        ran.failure = outcome.failure;
        for (const CatalogItem &item : outcome.value.value_or(QList<CatalogItem>()))
            ran.lines.append(item.id + u' ' + item.name + u' ' + item.fileExtension + u' ' + item.categoryID);
    } else {
        const auto outcome = settle(repository.detail(source, titleOf(argument, kind)));
        ran.failure = outcome.failure;
        if (outcome.value) {
            ran.lines.append(outcome.value->plot);
            if (outcome.value->movie)
                ran.lines.append(QString::fromLatin1(outcome.value->movie->encodedURL()));
            for (const CatalogEpisode &episode : outcome.value->episodes)
                ran.lines.append(QString::fromLatin1(episode.channel.encodedURL()));
        }
    }
    return ran;
}

} // namespace

class TestRepositories : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // ---------------------------------------------------------------------------------------------
    // Xtream Codes: three requests, in order, with the credentials percent-encoded.

    void xtreamRequests_data()
    {
        QTest::addColumn<QString>("address"); // "{base}" stands for http://127.0.0.1:<port>
        QTest::addColumn<QString>("username");
        QTest::addColumn<QString>("password");
        QTest::addColumn<QByteArray>("api"); // the account request as sent
        QTest::addColumn<QString>("streams"); // the start of every stream address, after the base
        QTest::addColumn<QString>("format"); // the one the account offers, "m3u8" when it offers it

        QTest::newRow("plain") << u"{base}"_s << u"user"_s << u"pass"_s
                               << QByteArray("/player_api.php?username=user&password=pass")
                               << u"/live/user/pass/"_s << u"m3u8"_s;
        QTest::newRow("an account offering only ts")
            << u"{base}"_s << u"user"_s << u"pass"_s << QByteArray("/player_api.php?username=user&password=pass")
            << u"/live/user/pass/"_s << u"ts"_s;
        QTest::newRow("blanks and trailing slashes")
            << u" \t{base}/// "_s << u"user"_s << u"pass"_s
            << QByteArray("/player_api.php?username=user&password=pass") << u"/live/user/pass/"_s << u"m3u8"_s;
        QTest::newRow("a path") << u"{base}/panel/c/"_s << u"user"_s << u"pass"_s
                                << QByteArray("/panel/c/player_api.php?username=user&password=pass")
                                << u"/panel/c/live/user/pass/"_s << u"m3u8"_s;
        QTest::newRow("ampersand, at sign, blanks")
            << u"{base}"_s << u"a b&c@d"_s << u" p&w=1 "_s
            << QByteArray("/player_api.php?username=a%20b%26c%40d&password=%20p%26w%3D1%20")
            << u"/live/a%20b%26c%40d/%20p%26w%3D1%20/"_s << u"m3u8"_s;
        QTest::newRow("delimiters") << u"{base}"_s << u"x/y?z#"_s << u"%+;:,"_s
                                    << QByteArray(
                                           "/player_api.php?username=x%2Fy%3Fz%23&password=%25%2B%3B%3A%2C")
                                    << u"/live/x%2Fy%3Fz%23/%25%2B%3B%3A%2C/"_s << u"m3u8"_s;
    }

    void xtreamRequests()
    {
        QFETCH(QString, address);
        QFETCH(QString, username);
        QFETCH(QString, password);
        QFETCH(QByteArray, api);
        QFETCH(QString, streams);
        QFETCH(QString, format);

        LoopbackServer server;
        QHash<QString, Response> answers = workingProvider();
        if (format == u"ts"_s)
            answers.insert(QString(), Response::ok(tsAccount));
        serveXtream(server, answers);
        const PlaylistSource source = xtream(address.replace(u"{base}"_s, base(server)), username, password);

        const Outcome<QList<Channel>> outcome = settle(PlaylistRepository().load(source));
        QCOMPARE(outcome.failure, QString());

        QCOMPARE(targetsOf(server),
            (QList<QByteArray> {api, api + "&action=get_live_categories", api + "&action=get_live_streams"}));
        for (const Request &request : server.requests()) {
            QCOMPARE(request.method, QByteArray("GET"));
            QCOMPARE(request.headerValues("User-Agent"), QList<QByteArray> {"Quenvo-macOS/0.1"});
            QVERIFY(!request.hasHeader("Authorization"));
        }

        const QString live = base(server) + streams;
        QCOMPARE(describe(*outcome.value),
            (QStringList {u"Esport 1 | Esports | "_s + live + u"11."_s + format,
                u"Notícies 24 | Notícies | "_s + live + u"12."_s + format,
                u"Altres | Directe | "_s + live + u"13."_s + format}));
    }

    // A failing answer passes through unchanged as the failure of the load or catalogue operation,
    // which asks for nothing after it. `operation` is "xtream" or "m3u" for a load of that kind;
    // `step` is the Xtream action that gets `answer` ("" for the account check).
    void failuresPassThrough_data()
    {
        QTest::addColumn<QString>("operation");
        QTest::addColumn<QString>("step");
        QTest::addColumn<Response>("answer");
        QTest::addColumn<int>("requests");
        QTest::addColumn<QString>("failure");

        const auto row = [](const QString &name, const QString &operation, const QString &step,
                             const Response &answer, int requests, const QString &failure) {
            QTest::newRow(qPrintable(name)) << operation << step << answer << requests << failure;
        };
        const QString xtream = u"xtream"_s;
        const QString categories = u"get_live_categories"_s;
        const QString streams = u"get_live_streams"_s;
        row(u"account refused"_s, xtream, QString(), Response::ok(R"({"user_info":{"auth":0}})"), 1, refused);
        row(u"account not JSON"_s, xtream, QString(), Response::ok("<html>Bad gateway</html>"), 1, jsonError);
        row(u"account 401"_s, xtream, QString(), Response::withStatus(401, "Unauthorized"), 1, Texts::denied);
        row(u"categories not an array"_s, xtream, categories, Response::ok(R"({"1":"Esports"})"), 2,
            badLiveCatalogue);
        row(u"categories truncated"_s, xtream, categories, Response::ok(R"([{"category_id":"1")"), 2,
            jsonError);
        row(u"categories 404"_s, xtream, categories, Response::withStatus(404), 2, Texts::httpError(404));
        row(u"streams without usable rows"_s, xtream, streams, Response::ok(R"([{"stream_id":"a"}])"), 3,
            noLiveChannels);
        row(u"streams 401"_s, xtream, streams, Response::withStatus(401), 3, Texts::denied);

        const QString m3u = u"m3u"_s;
        row(u"M3U: invalid UTF-8"_s, m3u, QString(),
            Response::ok("#EXTM3U\n#EXTINF:-1,Caf\xe9\nhttp://h/a.ts\n"), 1, notUTF8);
        row(u"M3U: a truncated UTF-8 sequence"_s, m3u, QString(),
            Response::ok("#EXTM3U\n#EXTINF:-1,a\nhttp://h/a.ts\n\xc3"), 1, notUTF8);
        row(u"M3U: not a playlist"_s, m3u, QString(), Response::ok("<html>login</html>"), 1, notAPlaylist);
        row(u"M3U: empty"_s, m3u, QString(), Response::ok(""), 1, notAPlaylist);
        row(u"M3U: 401"_s, m3u, QString(), Response::withStatus(401, "#EXTM3U\n"), 1, Texts::denied);
        row(u"M3U: 404"_s, m3u, QString(), Response::withStatus(404), 1, Texts::httpError(404));

        const QList<std::pair<QString, QString>> operations {{u"categories"_s, u"get_series_categories"_s},
            {u"items"_s, u"get_series"_s}, {u"detail"_s, u"get_series_info"_s}};
        for (const auto &[operation, action] : operations) {
            row(operation + u": 401"_s, operation, action, Response::withStatus(401), 1, Texts::denied);
            row(operation + u": 500"_s, operation, action, Response::withStatus(500), 1,
                Texts::httpError(500));
            row(operation + u": truncated JSON"_s, operation, action, Response::ok(R"([{"category_id":)"), 1,
                jsonError);
        }
        row(u"categories: an object"_s, u"categories"_s, u"get_series_categories"_s,
            Response::ok(R"({"error":"x"})"), 1, badCatalogue);
        row(u"items: a row not an object"_s, u"items"_s, u"get_series"_s, Response::ok("[1]"), 1,
            badCatalogue);
        row(u"detail: refused"_s, u"detail"_s, u"get_series_info"_s,
            Response::ok(R"({"info":[],"user_info":{"auth":0}})"), 1, detailRefused);
    }

    void failuresPassThrough()
    {
        QFETCH(QString, operation);
        QFETCH(QString, step);
        QFETCH(Response, answer);
        QFETCH(int, requests);
        QFETCH(QString, failure);

        LoopbackServer server;
        QHash<QString, Response> answers = workingProvider();
        answers.insert(step, answer);
        serveXtream(server, answers);
        server.route(u"/tv.m3u"_s, answer);
        const bool load = operation == u"xtream"_s || operation == u"m3u"_s;
        const PlaylistSource source
            = operation == u"m3u"_s ? m3u(base(server) + u"/tv.m3u"_s) : xtream(base(server));
        QCOMPARE(run(load ? u"load"_s : operation, source, CatalogKind::series, u"9"_s).failure, failure);
        QCOMPARE(server.requestCount(), requests);
    }

    // ---------------------------------------------------------------------------------------------
    // Connections refused before any download.

    void refusedBeforeAnyRequest_data()
    {
        QTest::addColumn<QString>("operation");
        QTest::addColumn<QString>("argument"); // category or title id
        QTest::addColumn<QString>("failure");
        QTest::addColumn<QString>("kind"); // "m3u" or "xtream"
        QTest::addColumn<QString>("address"); // "{base}" stands for http://127.0.0.1:<port>
        QTest::addColumn<QString>("password"); // the user is "user"
        QTest::addColumn<QString>("name");

        // An Xtream connection "Llista" at the loopback address with a password, unless the row says.
        const auto row
            = [](const char *rowName, const char *operation, const QString &argument, const QString &failure,
                  const char *kind = "xtream", const QString &address = u"{base}"_s,
                  const QString &password = u"pass"_s, const QString &name = u"Llista"_s) {
                  QTest::newRow(rowName) << QString::fromLatin1(operation) << argument << failure
                                         << QString::fromLatin1(kind) << address << password << name;
              };
        const QString list = u"{base}/tv.m3u"_s;
        // the playlist
        row("load: no name", "load", QString(), needsName, "m3u", list, u"pass"_s, u" \t"_s);
        row("load: not http", "load", QString(), invalidURL, "m3u", u"ftp://127.0.0.1/tv.m3u"_s);
        row("load: xtream without password", "load", QString(), needsCredentials, "xtream", u"{base}"_s,
            QString());
        row("load: xtream with player_api.php", "load", QString(), needsBase, "xtream",
            u"{base}/player_api.php"_s);
        // the catalogue: the connection first, then the argument
        row("categories: an M3U connection", "categories", QString(), needsXtream, "m3u", list);
        row("items: an M3U connection", "items", u"12"_s, needsXtream, "m3u", list);
        row("detail: an M3U connection", "detail", u"42"_s, needsXtream, "m3u", list);
        row("categories: no password", "categories", QString(), needsCredentials, "xtream", u"{base}"_s,
            QString());
        row("detail: not http", "detail", u"42"_s, invalidURL, "xtream", u"rtsp://127.0.0.1/"_s);
        row("items: no name", "items", u"12"_s, needsName, "xtream", u"{base}"_s, u"pass"_s, QString());
        row("items: category with a letter", "items", u"12a"_s, badCategory);
        row("items: empty category", "items", QString(), badCategory);
        row("items: category in Arabic-Indic digits", "items", u"١٢"_s, badCategory);
        row("items: category with a blank", "items", u" 12"_s, badCategory);
        row("items: negative category", "items", u"-1"_s, badCategory);
        row("items: category checked before the connection", "items", u"x"_s, badCategory, "m3u", list);
        row("detail: empty title id", "detail", QString(), badTitle);
        row("detail: title id with a letter", "detail", u"4x2"_s, badTitle);
        row("detail: title id in full-width digits", "detail", u"４２"_s, badTitle);
        row("detail: title id checked before the connection", "detail", u"4.2"_s, badTitle, "m3u", list);
    }

    void refusedBeforeAnyRequest()
    {
        QFETCH(QString, operation);
        QFETCH(QString, argument);
        QFETCH(QString, failure);
        QFETCH(QString, kind);
        QFETCH(QString, address);
        QFETCH(QString, password);
        QFETCH(QString, name);

        LoopbackServer server;
        server.setFallback(
            [](const Request &) { return Response::ok("#EXTM3U\n#EXTINF:-1,a\nhttp://h/a\n"); });
        address.replace(u"{base}"_s, base(server));
        const PlaylistSource source(QUuid::createUuid(), name, address, u"user"_s, password,
            kind == u"m3u"_s ? PlaylistSource::Kind::m3u : PlaylistSource::Kind::xtream);

        for (const CatalogKind catalogKind : CatalogKinds::allCases)
            QCOMPARE(run(operation, source, catalogKind, argument).failure, failure);
        QCOMPARE(server.requestCount(), 0);
    }

    // ---------------------------------------------------------------------------------------------
    // M3U playlists.

    void m3uRequest_data()
    {
        QTest::addColumn<QString>("username");
        QTest::addColumn<QString>("password");
        QTest::addColumn<QByteArray>("authorization"); // null: no header

        QTest::newRow("no user") << QString() << QString() << QByteArray();
        QTest::newRow("password without user") << QString() << u"secret"_s << QByteArray();
        QTest::newRow("user, empty password") << u"a"_s << QString() << QByteArray("Basic YTo=");
        QTest::newRow("blank user kept") << u" "_s << QString() << QByteArray("Basic IDo=");
        QTest::newRow("user and password")
            << u"Aladdin"_s << u"open sesame"_s << QByteArray("Basic QWxhZGRpbjpvcGVuIHNlc2FtZQ==");
        QTest::newRow("UTF-8 and colons")
            << u"Jo@n"_s << u"p:ss wörd"_s << QByteArray("Basic Sm9AbjpwOnNzIHfDtnJk");
    }

    void m3uRequest()
    {
        QFETCH(QString, username);
        QFETCH(QString, password);
        QFETCH(QByteArray, authorization);

        LoopbackServer server;
        server.route(u"/lists/tv.m3u"_s,
            Response::ok("#EXTM3U\n#EXTINF:-1 group-title=\"Cinema\",Un\nhttp://cdn.test/1.m3u8\n"
                         "#EXTINF:-1,Dos\n../streams/2.ts\n"));
        const PlaylistSource source
            = m3u(base(server) + u"/lists/tv.m3u?type=m3u_plus&output=ts "_s, username, password);

        const Outcome<QList<Channel>> outcome = settle(PlaylistRepository().load(source));
        QCOMPARE(outcome.failure, QString());
        QCOMPARE(describe(*outcome.value),
            (QStringList {u"Un | Cinema | http://cdn.test/1.m3u8"_s,
                u"Dos | Sense categoria | "_s + base(server) + u"/streams/2.ts"_s}));

        QCOMPARE(server.requestCount(), 1);
        const Request request = server.lastRequest();
        QCOMPARE(request.method, QByteArray("GET"));
        QCOMPARE(request.target, QByteArray("/lists/tv.m3u?type=m3u_plus&output=ts"));
        QCOMPARE(request.headerValues("User-Agent"), QList<QByteArray> {"Quenvo-macOS/0.1"});
        QCOMPARE(request.headerValues("Authorization"),
            authorization.isNull() ? QList<QByteArray>() : QList<QByteArray> {authorization});
    }

    // Relative entries resolve against the address the playlist finally came from.
    void m3uRedirectGivesTheBase()
    {
        LoopbackServer server;
        server.redirect(u"/old.m3u"_s, 301, "/moved/here/");
        server.redirect(u"/moved/here/"_s, 302, "/final/dir/tv.m3u?v=2");
        server.route(u"/final/dir/tv.m3u"_s,
            Response::ok("#EXTM3U\n#EXTINF:-1,Relatiu\nstream/1.m3u8\n#EXTINF:-1,Amunt\n../up.ts\n"
                         "#EXTINF:-1,Arrel\n/root.ts\n#EXTINF:-1,Absolut\nhttps://cdn.test/a.m3u8\n"));

        const Outcome<QList<Channel>> outcome
            = settle(PlaylistRepository().load(m3u(base(server) + u"/old.m3u"_s, u"a"_s)));
        QCOMPARE(outcome.failure, QString());
        const QString host = base(server);
        QCOMPARE(describe(*outcome.value),
            (QStringList {u"Relatiu | Sense categoria | "_s + host + u"/final/dir/stream/1.m3u8"_s,
                u"Amunt | Sense categoria | "_s + host + u"/final/up.ts"_s,
                u"Arrel | Sense categoria | "_s + host + u"/root.ts"_s,
                u"Absolut | Sense categoria | https://cdn.test/a.m3u8"_s}));
        QCOMPARE(
            targetsOf(server), (QList<QByteArray> {"/old.m3u", "/moved/here/", "/final/dir/tv.m3u?v=2"}));
        for (const Request &request : server.requests()) {
            QCOMPARE(request.header("User-Agent"), QByteArray("Quenvo-macOS/0.1"));
            QCOMPARE(request.header("Authorization"), QByteArray("Basic YTo=")); // same origin throughout
        }
    }

    // ---------------------------------------------------------------------------------------------
    // Playlist files on this computer (opened from the command line or the file manager).

    void localPlaylistFiles_data()
    {
        QTest::addColumn<QByteArray>("content"); // written to <dir>/lists/tv.m3u
        QTest::addColumn<QString>("address");    // "{dir}" stands for the folder's file: URL
        QTest::addColumn<QStringList>("channels");
        QTest::addColumn<QString>("failure");

        const QString file = u"{dir}/lists/tv.m3u"_s;
        QTest::newRow("web addresses kept, relative ones skipped")
            << QByteArray("\xef\xbb\xbf#EXTM3U\r\n#EXTINF:-1 group-title=\"Cinema\",Un\r\nhttp://cdn.test/1.m3u8\r\n"
                          "#EXTINF:-1,Relatiu\r\nstreams/2.ts\r\n#EXTINF:-1,Amunt\r\n../3.ts\r\n"
                          "#EXTINF:-1,Dos\r\nhttps://cdn.test/2.ts\r\n")
            << file << QStringList{u"Un | Cinema | http://cdn.test/1.m3u8"_s, u"Dos | Sense categoria | https://cdn.test/2.ts"_s}
            << QString();
        QTest::newRow("only relative addresses")
            << QByteArray("#EXTM3U\n#EXTINF:-1,A\na.ts\n#EXTINF:-1,B\n/tmp/b.ts\n") << file << QStringList()
            << noWebStreams;
        QTest::newRow("an HLS manifest is a file, not a web stream")
            << QByteArray("#EXTM3U\n#EXT-X-TARGETDURATION:2\n#EXTINF:2,\nseg000.ts\n") << file << QStringList()
            << noWebStreams;
        QTest::newRow("not UTF-8") << QByteArray("#EXTM3U\n#EXTINF:-1,Caf\xe9\nhttp://h/a.ts\n") << file
                                   << QStringList() << notUTF8;
        QTest::newRow("not a playlist") << QByteArray("<html></html>") << file << QStringList() << notAPlaylist;
        QTest::newRow("missing file") << QByteArray() << u"{dir}/lists/cap.m3u"_s << QStringList()
                                      << u"No s’ha trobat el fitxer «cap.m3u». Pot haver canviat de lloc o haver estat esborrat."_s;
        QTest::newRow("a folder") << QByteArray() << u"{dir}/lists"_s << QStringList()
                                  << u"No s’ha pogut llegir el fitxer «lists». Comprova’n els permisos."_s;
        QTest::newRow("address with blanks around it")
            << QByteArray("#EXTM3U\nhttp://h/a.ts\n") << u"  {dir}/lists/tv.m3u \n"_s
            << QStringList{u"Canal 1 | Sense categoria | http://h/a.ts"_s} << QString();
        // The download's 25 MB cap holds for files too: one byte over is refused, the limit itself is not.
        const QByteArray big = "#EXTM3U\n#EXTINF:-1,Gran\nhttp://h/big.ts\n";
        QTest::newRow("at the size limit") << big.leftJustified(HTTPClient::maximumBodyBytes, '\n') << file
                                           << QStringList{u"Gran | Sense categoria | http://h/big.ts"_s} << QString();
        QTest::newRow("a byte over the size limit")
            << big.leftJustified(HTTPClient::maximumBodyBytes + 1, '\n') << file << QStringList() << tooLarge;
    }

    void localPlaylistFiles()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, address);
        QFETCH(QStringList, channels);
        QFETCH(QString, failure);

        QTemporaryDir dir;
        QVERIFY(QDir(dir.path()).mkdir(u"lists"_s));
        QFile file(dir.filePath(u"lists/tv.m3u"_s));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
        file.close();
        address.replace(u"{dir}"_s, QUrl::fromLocalFile(dir.path()).toString());
        const PlaylistSource source = m3u(address);
        QVERIFY(LocalPlaylistFile::isLocal(source));

        const Outcome<QList<Channel>> outcome = settle(PlaylistRepository().load(source));
        QCOMPARE(outcome.failure, failure);
        QCOMPARE(outcome.value ? describe(*outcome.value) : QStringList(), channels);
    }

    // A file: address typed in the editor is still refused there: only the command line makes one.
    void fileAddressesAreNotValidConnections()
    {
        const PlaylistSource source = m3u(u"file:///tmp/tv.m3u"_s);
        QVERIFY_THROWS_EXCEPTION(IPTVError, source.validatedURL());
        QVERIFY(!LocalPlaylistFile::isLocal(xtream(u"file:///tmp/"_s)));
    }

    // ---------------------------------------------------------------------------------------------
    // The catalogue.

    void catalogRequests_data()
    {
        QTest::addColumn<QString>("operation");
        QTest::addColumn<CatalogKind>("kind");
        QTest::addColumn<QString>("argument");
        QTest::addColumn<QByteArray>("query"); // after the credentials
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<QStringList>("result");

        const QByteArray categories
            = R"([{"category_id":"10","category_name":"Acció"},{"category_id":11,"category_name":null}])";
        const QByteArray titles
            = R"([{"stream_id":5,"series_id":6,"name":"Cinc","container_extension":"mkv"},{"stream_id":"7","series_id":"8","name":"Set"}])";
        const QByteArray movie = R"({"info":{"plot":"Trama"},"movie_data":{"container_extension":"avi"}})";
        const QByteArray series
            = R"({"info":{"plot":"Trama"},"episodes":{"1":[{"id":"91","episode_num":1,"title":"Pilot"}]}})";
        QTest::newRow("movie categories")
            << u"categories"_s << CatalogKind::movies << QString() << QByteArray("&action=get_vod_categories")
            << categories << QStringList {u"10 Acció"_s, u"11 Sense categoria"_s};
        QTest::newRow("series categories") << u"categories"_s << CatalogKind::series << QString()
                                           << QByteArray("&action=get_series_categories") << categories
                                           << QStringList {u"10 Acció"_s, u"11 Sense categoria"_s};
        QTest::newRow("movies of a category")
            << u"items"_s << CatalogKind::movies << u"12"_s
            << QByteArray("&action=get_vod_streams&category_id=12") << titles
            << QStringList {u"5 Cinc mkv 12"_s, u"7 Set mp4 12"_s};
        QTest::newRow("series of a category") << u"items"_s << CatalogKind::series << u"007"_s
                                              << QByteArray("&action=get_series&category_id=007") << titles
                                              << QStringList {u"6 Cinc mkv 007"_s, u"8 Set mp4 007"_s};
        QTest::newRow("movie detail")
            << u"detail"_s << CatalogKind::movies << u"42"_s << QByteArray("&action=get_vod_info&vod_id=42")
            << movie << QStringList {u"Trama"_s, u"{base}/movie/u%20s%26r/p%40ss/42.avi"_s};
        QTest::newRow("series detail")
            << u"detail"_s << CatalogKind::series << u"1234"_s
            << QByteArray("&action=get_series_info&series_id=1234") << series
            << QStringList {u"Trama"_s, u"{base}/series/u%20s%26r/p%40ss/91.mp4"_s};
    }

    void catalogRequests()
    {
        QFETCH(QString, operation);
        QFETCH(CatalogKind, kind);
        QFETCH(QString, argument);
        QFETCH(QByteArray, query);
        QFETCH(QByteArray, answer);
        QFETCH(QStringList, result);

        LoopbackServer server;
        server.route(u"/xc/player_api.php"_s, Response::ok(answer, "application/json"));
        const PlaylistSource source = xtream(base(server) + u"/xc//"_s, u"u s&r"_s, u"p@ss"_s);
        const Ran ran = run(operation, source, kind, argument);
        QCOMPARE(ran.failure, QString());
        QCOMPARE(ran.lines, result.replaceInStrings(u"{base}"_s, base(server) + u"/xc"_s));

        QCOMPARE(targetsOf(server),
            QList<QByteArray> {"/xc/player_api.php?username=u%20s%26r&password=p%40ss" + query});
        const Request request = server.lastRequest();
        QCOMPARE(request.method, QByteArray("GET"));
        QCOMPARE(request.headerValues("User-Agent"), QList<QByteArray> {"Quenvo-macOS/0.1"});
        QVERIFY(!request.hasHeader("Authorization"));
    }

    void requestURL_data()
    {
        QTest::addColumn<QString>("action");
        QTest::addColumn<QStringList>("parameters"); // "key=value"
        QTest::addColumn<QString>("expected");

        QTest::newRow("no parameters")
            << u"get_vod_categories"_s << QStringList()
            << u"http://h.test/player_api.php?username=u&password=p&action=get_vod_categories"_s;
        QTest::newRow("sorted by key")
            << u"x"_s << QStringList {u"vod_id=1"_s, u"b=2"_s, u"a=3"_s}
            << u"http://h.test/player_api.php?username=u&password=p&action=x&a=3&b=2&vod_id=1"_s;
        QTest::newRow("values percent-encoded")
            << u"x"_s << QStringList {u"q=a b&c=d/é~"_s}
            << u"http://h.test/player_api.php?username=u&password=p&action=x&q=a%20b%26c%3Dd%2F%C3%A9~"_s;
        QTest::newRow("empty value")
            << u"x"_s << QStringList {u"category_id="_s}
            << u"http://h.test/player_api.php?username=u&password=p&action=x&category_id="_s;
    }

    void requestURL()
    {
        QFETCH(QString, action);
        QFETCH(QStringList, parameters);
        QFETCH(QString, expected);

        QMap<QString, QString> map;
        for (const QString &parameter : std::as_const(parameters))
            map.insert(parameter.section(u'=', 0, 0), parameter.section(u'=', 1));
        const QUrl url
            = CatalogRepository::requestURL(xtream(u" http://h.test/ "_s, u"u"_s, u"p"_s), action, map);
        QCOMPARE(QString::fromLatin1(url.toEncoded()), expected);
    }

    // ---------------------------------------------------------------------------------------------
    // Cancellation.

    // Cancelled while the server holds back one answer, or before anything is asked: the load ends with
    // CancelledError at once and asks for nothing more.
    void cancellingWhileTheServerHoldsBack_data()
    {
        QTest::addColumn<QString>("load"); // "xtream", "m3u" or "detail"
        QTest::addColumn<QString>("heldBack"); // the Xtream action whose answer never comes
        QTest::addColumn<Response>("answer");
        QTest::addColumn<int>("requests"); // asked before the cancellation; 0: cancelled before it starts

        const Response stalledList = Response::ok("#EXTM3U\n#EXTINF:-1,a\nhttp://h/a.ts\n").stallingAfter(10);
        QTest::newRow("account, no answer") << u"xtream"_s << QString() << Response::silence() << 1;
        QTest::newRow("categories, no answer")
            << u"xtream"_s << u"get_live_categories"_s << Response::silence() << 2;
        QTest::newRow("streams, body stalled")
            << u"xtream"_s << u"get_live_streams"_s << Response::ok(liveStreams).stallingAfter(20) << 3;
        QTest::newRow("M3U list, body stalled") << u"m3u"_s << QString() << stalledList << 1;
        QTest::newRow("series detail, no answer")
            << u"detail"_s << u"get_series_info"_s << Response::silence() << 1;
        for (const QString &load : {u"xtream"_s, u"m3u"_s, u"detail"_s})
            QTest::addRow("%s, before starting", qPrintable(load)) << load << QString() << stalledList << 0;
    }

    void cancellingWhileTheServerHoldsBack()
    {
        QFETCH(QString, load);
        QFETCH(QString, heldBack);
        QFETCH(Response, answer);
        QFETCH(int, requests);

        LoopbackServer server;
        QHash<QString, Response> answers = workingProvider();
        answers.insert(heldBack, answer);
        serveXtream(server, answers);
        server.route(u"/tv.m3u"_s, answer);

        const CancellationToken token = CancellationToken::create();
        if (requests == 0)
            token.cancel();
        const CatalogItem series = titleOf(u"42"_s, CatalogKind::series);
        QCoro::Task<QString> running = load == u"detail"_s
            ? failureOf(CatalogRepository().detail(xtream(base(server)), series, token))
            : failureOf(PlaylistRepository().load(
                load == u"m3u"_s ? m3u(base(server) + u"/tv.m3u"_s) : xtream(base(server)), token));
        if (requests > 0) {
            QTRY_COMPARE(server.requestCount(), requests);
            QVERIFY(!running.isReady());
            token.cancel();
        }
        QCOMPARE(QCoro::waitFor(std::move(running)), cancelled);
        QCOMPARE(server.requestCount(), requests);
    }

    // The user moves on once the answer has arrived: the parse that runs off the main thread hears of
    // it and ends with the cancellation, rather than reading the whole answer for nothing.
    void cancelledWhileParsing_data()
    {
        QTest::addColumn<QString>("load");
        QTest::newRow("M3U list") << u"m3u"_s;
        QTest::newRow("Xtream live streams") << u"get_live_streams"_s;
        QTest::newRow("movie categories") << u"get_vod_categories"_s;
        QTest::newRow("movie titles") << u"get_vod_streams"_s;
    }

    void cancelledWhileParsing()
    {
        QFETCH(QString, load);

        QByteArray playlist = "#EXTM3U\n";
        QByteArray rows = "[";
        for (int i = 0; i < 20000; ++i) {
            playlist += "#EXTINF:-1,C" + QByteArray::number(i) + "\nhttp://cdn.test/" + QByteArray::number(i) + ".ts\n";
            rows += (i ? "," : "") + QByteArray(R"({"stream_id":)") + QByteArray::number(i) + R"(,"category_id":)"
                + QByteArray::number(i) + R"(,"category_name":"C","name":"N"})";
        }
        rows += "]";
        LoopbackServer server;
        server.route(u"/tv.m3u"_s, Response::ok(playlist));
        serveXtream(server,
            {{QString(), Response::ok(account)}, {u"get_live_categories"_s, Response::ok(rows)},
                {u"get_live_streams"_s, Response::ok(rows)}, {u"get_vod_categories"_s, Response::ok(rows)},
                {u"get_vod_streams"_s, Response::ok(rows)}});

        // Downloads for real, and cancels the load as the answer to be parsed comes back.
        const auto cancelOnAnswer = [load](QNetworkRequest request, CancellationToken cancellation)
            -> QCoro::Task<HTTPPayload> {
            const bool last = request.url().path().endsWith(u".m3u"_s)
                || QUrlQuery(request.url()).queryItemValue(u"action"_s) == load;
            HTTPPayload payload = co_await HTTPClient::defaultFetch()(std::move(request), cancellation);
            if (last)
                cancellation.cancel();
            co_return payload;
        };
        const CancellationToken token = CancellationToken::create();
        QString failure;
        if (load == u"m3u")
            failure = settle(PlaylistRepository(cancelOnAnswer).load(m3u(base(server) + u"/tv.m3u"_s), token)).failure;
        else if (load == u"get_live_streams")
            failure = settle(PlaylistRepository(cancelOnAnswer).load(xtream(base(server)), token)).failure;
        else if (load == u"get_vod_categories")
            failure = settle(CatalogRepository(cancelOnAnswer).categories(xtream(base(server)), CatalogKind::movies, token))
                          .failure;
        else
            failure = settle(CatalogRepository(cancelOnAnswer).items(xtream(base(server)), CatalogKind::movies, u"1"_s, token))
                          .failure;
        QCOMPARE(failure, cancelled);
        // Nothing was asked after the cancellation.
        QCOMPARE(server.requests().last().target.contains(load == u"m3u" ? "/tv.m3u" : load.toLatin1()), true);
    }

    // A list that turns out to be an HLS stream is played at the connection's address as written;
    // after a redirect, at the address it finally came from.
    void hlsListKeepsTheConnectionAddress()
    {
        LoopbackServer server;
        const QByteArray manifest = "#EXTM3U\n#EXT-X-TARGETDURATION:10\n#EXTINF:10,\nseg1.ts\n";
        server.route(u"/live/index.m3u8"_s, Response::ok(manifest));
        server.redirect(u"/old/index.m3u8"_s, 302, "/live/index.m3u8?token=%c3%a9");

        const QString written = u"HTTP://127.0.0.1:%1/live/index.m3u8?token=%c3%a9"_s.arg(server.port());
        const Outcome<QList<Channel>> direct = settle(PlaylistRepository().load(m3u(u"  "_s + written + u" "_s)));
        QCOMPARE(direct.failure, QString());
        QCOMPARE(describe(*direct.value), QStringList {u"Emissió HLS | Directe | "_s + written});
        QCOMPARE(server.lastRequest().target, QByteArray("/live/index.m3u8?token=%C3%A9"));

        const Outcome<QList<Channel>> redirected = settle(PlaylistRepository().load(m3u(base(server) + u"/old/index.m3u8"_s)));
        QCOMPARE(redirected.failure, QString());
        QCOMPARE(describe(*redirected.value),
            QStringList {u"Emissió HLS | Directe | "_s + base(server) + u"/live/index.m3u8?token=%C3%A9"_s});
    }

    // The repository may go away while its load runs.
    void repositoryGoneWhileLoading()
    {
        LoopbackServer server;
        serveXtream(server, workingProvider());
        std::optional<QCoro::Task<Outcome<QList<Channel>>>> load;
        {
            const auto repository = std::make_unique<PlaylistRepository>();
            load.emplace(settled(repository->load(xtream(base(server)))));
        }
        const Outcome<QList<Channel>> outcome = QCoro::waitFor(std::move(*load));
        QCOMPARE(outcome.failure, QString());
        QCOMPARE(outcome.value->size(), qsizetype(3));
        QCOMPARE(server.requestCount(), 3);
    }
};

QTEST_GUILESS_MAIN(TestRepositories)
#include "tst_repositories.moc"
