// The Xtream Codes readers straight from bytes: how each answer becomes records, how loosely provider
// JSON is read (ids as numbers or strings, wrong types, missing keys), the exact text of every refusal,
// and answers written to hurt (garbage types, deep nesting, huge numbers, truncated or invalid bodies).

#include "Settled.h"
#include "XtreamTexts.h"
#include "records/PlaylistSource.h"
#include "repositories/XtreamReaders.h"

#include <QTest>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace XtreamTexts;

namespace {

// Stands for a JsonError where a row expects a failure.
const QString jsonError = u"<JsonError>"_s;
// Stands for an absent value where a row expects a text.
const QString none = u"<none>"_s;

const QString providerBase = u"http://provider.test:8080"_s;

PlaylistSource provider(const QString &address = providerBase + u'/', const QString &username = u"user"_s,
    const QString &password = u"pass"_s)
{
    return PlaylistSource(QUuid(), u"Proveïdor"_s, address, username, password, PlaylistSource::Kind::xtream);
}

// Runs `read`, stores what it returns in `result`, and answers how it failed (failureText()), or an empty
// text when it succeeded.
template<typename Result, typename Read> QString attempt(Result &result, Read read)
{
    try {
        result = read();
        return QString();
    } catch (...) {
        return failureText(std::current_exception());
    }
}

QString urlText(const std::optional<QUrl> &url)
{
    return url ? QString::fromLatin1(url->toEncoded()) : none;
}

QString describe(const Channel &channel)
{
    return channel.name() + u" | "_s + channel.group() + u" | "_s + QString::fromLatin1(channel.encodedURL());
}

QHash<QString, QString> categoryMap(const QStringList &pairs)
{
    QHash<QString, QString> map;
    for (const QString &pair : pairs)
        map.insert(pair.section(u'=', 0, 0), pair.section(u'=', 1));
    return map;
}

QStringList pairsOf(const QHash<QString, QString> &map)
{
    QStringList pairs;
    for (auto it = map.cbegin(); it != map.cend(); ++it)
        pairs.append(it.key() + u'=' + it.value());
    pairs.sort();
    return pairs;
}

QByteArray nested(int depth, const QByteArray &inside)
{
    return QByteArray(depth, '[') + inside + QByteArray(depth, ']');
}

CatalogItem title(CatalogKind kind, const QString &id = u"42"_s)
{
    return CatalogItem {id, kind, u"Títol"_s, u"3"_s, QUrl(u"http://provider.test/llista.jpg"_s), u"2020"_s,
        u"6.5"_s, u"Sinopsi de la llista"_s, u"mkv"_s, 0};
}

// One episode as the rows expect it: "S<season> E<number> #<id> <title> | <group> | <address>".
QString episodeLine(qint64 season, qint64 number, const QString &id, const QString &name,
    const QString &extension = u"mp4"_s, const QString &series = u"Títol"_s)
{
    return u"S%1 E%2 #%3 %4 | %5 · T%1 E%2 | %6/series/user/pass/%3.%7"_s.arg(season).arg(number).arg(
        id, name, series, providerBase, extension);
}

QString describe(const CatalogEpisode &episode)
{
    return u"S%1 E%2 #%3 "_s.arg(episode.season).arg(episode.number).arg(episode.id) + episode.title
        + u" | "_s + episode.channel.group() + u" | "_s + QString::fromLatin1(episode.channel.encodedURL());
}

// What a reader gives, one record per line: `reader` names the reader and, for titles and details, the kind.
QStringList read(const QString &reader, const QByteArray &body, const CancellationFlag &cancellation = {})
{
    const PlaylistSource source = provider();
    const CatalogKind kind = reader.startsWith(u"movie") ? CatalogKind::movies : CatalogKind::series;
    QStringList lines;
    if (reader == u"account") {
        lines.append(XtreamReaders::accountStreamExtension(body));
    } else if (reader == u"liveCategories") {
        lines = pairsOf(XtreamReaders::liveCategories(body, cancellation));
    } else if (reader == u"liveStreams") {
        const QHash<QString, QString> categories {
            {u"1"_s, u"U"_s}, {u"99999999999999999999999"_s, u"Gran"_s}};
        for (const Channel &channel :
            XtreamReaders::liveStreams(body, source, u"ts"_s, categories, cancellation))
            lines.append(describe(channel));
    } else if (reader == u"catalogCategories") {
        for (const CatalogCategory &category : XtreamReaders::catalogCategories(body, cancellation))
            lines.append(category.id + u'=' + category.name);
    } else if (reader.endsWith(u"Items")) {
        for (const CatalogItem &item : XtreamReaders::catalogItems(body, kind, u"1"_s, cancellation))
            lines.append(item.id + u' ' + item.name + u" year="_s + item.year + u" rating="_s + item.rating
                + u" added="_s + QString::number(item.added, 'g', 17));
    } else if (reader.endsWith(u"Detail")) {
        const CatalogDetail detail = XtreamReaders::catalogDetail(body, source, title(kind));
        lines.append(u"duration="_s + detail.duration);
        if (detail.movie)
            lines.append(describe(*detail.movie));
        for (const CatalogEpisode &episode : detail.episodes)
            lines.append(describe(episode));
    } else {
        qFatal("no reader named %s", qPrintable(reader));
    }
    return lines;
}

// What a reader gives, one record per line, or the failure.
QString readThrough(const QString &reader, const QByteArray &body)
{
    QStringList lines;
    const QString failure = attempt(lines, [&] { return read(reader, body); });
    return failure.isEmpty() ? lines.join(u'\n') : failure;
}

} // namespace

Q_DECLARE_METATYPE(CatalogKind)

class TestXtreamReaders : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // ---------------------------------------------------------------------------------------------
    // What the account, category and title readers make of an answer, one record per line
    // (readThrough()), or the text of the refusal. Numbers at the edges, read as text where an id, a
    // season or a name belongs; valid JSON numbers beyond 64 bits or beyond a double: the answer is
    // read, each such number counts as its text where text is read, and as no string where only
    // strings count.
    void reads_data();
    void reads();

    // ---------------------------------------------------------------------------------------------
    // Live streams.
    void liveStreams_data();
    void liveStreams();

    // The stream address of a live channel, a movie and an episode: base without blanks and trailing
    // slashes, then the credentials with every byte but A–Z a–z 0–9 - . _ ~ percent-encoded.
    void liveStreamAddress_data();
    void liveStreamAddress();

    // ---------------------------------------------------------------------------------------------
    // The titles of a category.
    void catalogItemRows_data();
    void catalogItemRows();

    // One field of the single title of an answer.
    void catalogItemField_data();
    void catalogItemField();

    // A long answer whose texts hardly repeat: every title keeps its own poster host, extension
    // and rating, however many different ones the answer holds.
    void manyDifferentFieldsStayApart();

    // ---------------------------------------------------------------------------------------------
    // The detail of a title.
    void movieStream_data();
    void movieStream();
    // The texts of a detail: from "info" when it is an object, with the title's own plot and poster as
    // fallbacks. Same rules for movies and series.
    void detailField_data();
    void detailField();
    void detailWithoutTitleFallbacks();
    void seriesEpisodes_data();
    void seriesEpisodes();

    // An episode's plot, duration and image, from its own "info" object.
    void episodeInfo_data();
    void episodeInfo();

    // ---------------------------------------------------------------------------------------------
    // Answers written to hurt, through every reader: each one either reads or fails with its own text;
    // and the refusals of a detail.
    void hostile_data();
    void hostile();

    // A raised cancellation stops every list reader.
    void cancelledReadersStop_data();
    void cancelledReadersStop();
};

void TestXtreamReaders::liveStreams_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QStringList>("categories"); // "id=name"
    QTest::addColumn<QString>("extension");
    QTest::addColumn<QStringList>("channels"); // "name | group | address", in order
    QTest::addColumn<QString>("failure");

    const QStringList sports {u"1=Esports"_s};
    const auto row = [](const char *name, const QByteArray &body, const QStringList &categories,
                         const QStringList &channels, const QString &failure = QString(),
                         const QString &extension = u"m3u8"_s) {
        QTest::newRow(name) << body << categories << extension << channels << failure;
    };
    // One channel as the rows expect it.
    const auto channel = [](const QString &name, const QString &id, const QString &group = u"Directe"_s,
                             const QString &extension = u"m3u8"_s) {
        return name + u" | "_s + group + u" | "_s + providerBase + u"/live/user/pass/"_s + id + u'.'
            + extension;
    };

    row("ids as numbers and strings",
        R"([{"stream_id":123,"name":"U","category_id":"1"},{"stream_id":"124","name":"Dos","category_id":"1"}])",
        sports, {channel(u"U"_s, u"123"_s, u"Esports"_s), channel(u"Dos"_s, u"124"_s, u"Esports"_s)});
    row("ts extension", R"([{"stream_id":5,"name":"Cinc"}])", {},
        {channel(u"Cinc"_s, u"5"_s, u"Directe"_s, u"ts"_s)}, QString(), u"ts"_s);
    row("answer order kept",
        R"([{"stream_id":30,"name":"C"},{"stream_id":10,"name":"A"},{"stream_id":20,"name":"B"}])", {},
        {channel(u"C"_s, u"30"_s), channel(u"A"_s, u"10"_s), channel(u"B"_s, u"20"_s)});
    row("id 12.0 reads as 12", R"([{"stream_id":12.0,"name":"Dotze"}])", {}, {channel(u"Dotze"_s, u"12"_s)});
    row("id true reads as 1", R"([{"stream_id":true,"name":"U"}])", {}, {channel(u"U"_s, u"1"_s)});
    row("007 and 7 are two ids, each taken once",
        R"([{"stream_id":"007","name":"A"},{"stream_id":7,"name":"B"},{"stream_id":"7","name":"C"},)"
        R"({"stream_id":"007","name":"D"},{"stream_id":"0","name":"E"},{"stream_id":0,"name":"F"},)"
        R"({"stream_id":"1234567890123456789","name":"G"},{"stream_id":"1234567890123456789","name":"H"}])",
        {},
        {channel(u"A"_s, u"007"_s), channel(u"B"_s, u"7"_s), channel(u"E"_s, u"0"_s),
            channel(u"G"_s, u"1234567890123456789"_s)});
    row("largest unsigned id", R"([{"stream_id":18446744073709551615,"name":"Gran"}])", {},
        {channel(u"Gran"_s, u"18446744073709551615"_s)});
    row("unusable ids skipped",
        R"([{"stream_id":12.5,"name":"a"},{"stream_id":"12a","name":"b"},{"stream_id":"","name":"c"},)"
        R"({"name":"d"},{"stream_id":null,"name":"e"},{"stream_id":-5,"name":"f"},{"stream_id":" 12","name":"g"},)"
        R"({"stream_id":"١٢","name":"h"},{"stream_id":[12],"name":"i"},{"stream_id":{"id":12},"name":"j"},)"
        R"({"stream_id":"12 ","name":"k"},{"stream_id":"+12","name":"l"},{"stream_id":"１２","name":"n"},)"
        R"({"stream_id":-1e308,"name":"o"},{"stream_id":1e-7,"name":"p"},{"stream_id":99,"name":"Bo"}])",
        {}, {channel(u"Bo"_s, u"99"_s)});
    row("id 1e3 reads as 1000", R"([{"stream_id":1e3,"name":"Mil"}])", {}, {channel(u"Mil"_s, u"1000"_s)});
    row("first of repeated ids wins",
        R"([{"stream_id":5,"name":"Primer","category_id":"1"},{"stream_id":"5","name":"Segon"},{"stream_id":5.0,"name":"Tercer"}])",
        sports, {channel(u"Primer"_s, u"5"_s, u"Esports"_s)});
    row("name a number", R"([{"stream_id":9,"name":5}])", {}, {channel(u"Canal 9"_s, u"9"_s)});
    row("name missing", R"([{"stream_id":"9"}])", {}, {channel(u"Canal 9"_s, u"9"_s)});
    row("name untrimmed", R"([{"stream_id":9,"name":"  Nou  "}])", {}, {channel(u"  Nou  "_s, u"9"_s)});
    row("name empty", R"([{"stream_id":9,"name":""}])", {}, {channel(QString(), u"9"_s)});
    row("name escaped", "[{\"stream_id\":9,\"name\":\"TV3 \\u00e0 la carta \\/ \\\"HD\\\"\"}]", {},
        {channel(u"TV3 à la carta / \"HD\""_s, u"9"_s)});
    row("category by numeric id", R"([{"stream_id":1,"name":"a","category_id":1}])", sports,
        {channel(u"a"_s, u"1"_s, u"Esports"_s)});
    row("category unknown", R"([{"stream_id":1,"name":"a","category_id":"2"}])", sports,
        {channel(u"a"_s, u"1"_s)});
    row("category null meets a category without id", R"([{"stream_id":1,"name":"a","category_id":null}])",
        {u"=Sense id"_s}, {channel(u"a"_s, u"1"_s, u"Sense id"_s)});
    row("category with an empty name", R"([{"stream_id":1,"name":"a","category_id":"1"}])", {u"1="_s},
        {channel(u"a"_s, u"1"_s, u"Sense categoria"_s)});
    row("category ids as given", R"([{"stream_id":1,"name":"a","category_id":"01"}])", sports,
        {channel(u"a"_s, u"1"_s)});
    row("no rows", "[]", {}, {}, noLiveChannels);
    row("only unusable rows", R"([{},{"stream_id":"abc"},{"stream_id":null,"name":"x"}])", {}, {},
        noLiveChannels);
    row("an object", R"({"1":{"stream_id":1}})", {}, {}, badLiveCatalogue);
    row("a row that is not an object", R"([{"stream_id":1,"name":"a"},"b"])", {}, {}, badLiveCatalogue);
    row("truncated", "[{\"stream_id\":1,\"name\":\"a\"},{\"stream_id\":2,\"na", {}, {}, jsonError);
}

void TestXtreamReaders::liveStreams()
{
    QFETCH(QByteArray, body);
    QFETCH(QStringList, categories);
    QFETCH(QString, extension);
    QFETCH(QStringList, channels);
    QFETCH(QString, failure);

    QList<Channel> result;
    QCOMPARE(
        attempt(result,
            [&] { return XtreamReaders::liveStreams(body, provider(), extension, categoryMap(categories)); }),
        failure);
    QStringList described;
    for (const Channel &channel : result) {
        described.append(describe(channel));
        QVERIFY(!channel.requiresCustomHeaders());
        QVERIFY(PlaylistSource::isAcceptedHttpURL(channel.url()));
    }
    QCOMPARE(described, channels);
}

void TestXtreamReaders::liveStreamAddress_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("username");
    QTest::addColumn<QString>("password");
    QTest::addColumn<QByteArray>("expected");

    const auto row = [](const char *name, const QString &address, const char *expected,
                         const QString &username = u"user"_s, const QString &password = u"pass"_s) {
        QTest::newRow(name) << address << username << password << QByteArray(expected);
    };
    row("plain", u"http://provider.test:8080"_s, "http://provider.test:8080/live/user/pass/7.m3u8");
    row("blanks and trailing slashes", u"  http://provider.test:8080///  "_s,
        "http://provider.test:8080/live/user/pass/7.m3u8");
    row("path kept", u"https://provider.test/panel/"_s, "https://provider.test/panel/live/user/pass/7.m3u8");
    row("reserved characters", providerBase,
        "http://provider.test:8080/live/a%20b%26c%40d/p%2Fq%3Fr%23s%25t/7.m3u8", u"a b&c@d"_s,
        u"p/q?r#s%t"_s);
    row("unreserved characters", providerBase, "http://provider.test:8080/live/A-z.0_9~/~._-/7.m3u8",
        u"A-z.0_9~"_s, u"~._-"_s);
    row("plus, equals, colon", providerBase, "http://provider.test:8080/live/a%2Bb%3Dc/x%3Ay%3Bz%2C/7.m3u8",
        u"a+b=c"_s, u"x:y;z,"_s);
    row("letters outside ASCII", providerBase,
        "http://provider.test:8080/live/j%C3%B2sep/contrasenya%E2%82%AC%F0%9F%98%80/7.m3u8", u"jòsep"_s,
        u"contrasenya€😀"_s);
    row("percent sequences re-encoded", providerBase, "http://provider.test:8080/live/%2541/%252F/7.m3u8",
        u"%41"_s, u"%2F"_s);
    row("IPv6 host", u"http://[2001:db8::1]:8000/"_s, "http://[2001:db8::1]:8000/live/user/pass/7.m3u8");
    // The server address as written: no lower-casing, no rewriting of escapes, ports or dot segments.
    row("host and scheme in capitals kept", u"HTTP://Provider.Test:8080/"_s,
        "HTTP://Provider.Test:8080/live/user/pass/7.m3u8");
    row("default port kept", u"http://provider.test:80"_s, "http://provider.test:80/live/user/pass/7.m3u8");
    row("lower-case escape in the prefix kept", u"http://provider.test/p%c3%a9"_s,
        "http://provider.test/p%c3%a9/live/user/pass/7.m3u8");
    row("dot segments in the prefix kept", u"http://provider.test/a/../p/."_s,
        "http://provider.test/a/../p/./live/user/pass/7.m3u8");
    row("a blank in the prefix is encoded", u"http://Provider.test/my panel"_s,
        "http://provider.test/my%20panel/live/user/pass/7.m3u8");
}

void TestXtreamReaders::liveStreamAddress()
{
    QFETCH(QString, address);
    QFETCH(QString, username);
    QFETCH(QString, password);
    QFETCH(QByteArray, expected);

    const PlaylistSource source = provider(address, username, password);
    const QList<Channel> channels
        = XtreamReaders::liveStreams(R"([{"stream_id":7,"name":"Set"}])", source, u"m3u8"_s, {});
    QCOMPARE(channels.size(), qsizetype(1));
    QCOMPARE(channels.front().encodedURL(), expected);
    QVERIFY(PlaylistSource::isAcceptedHttpURL(channels.front().url()));

    // A movie's and an episode's address start the same way.
    const CatalogDetail movie
        = XtreamReaders::catalogDetail(R"({"info":{}})", source, title(CatalogKind::movies));
    QCOMPARE(movie.movie->encodedURL(),
        QByteArray(expected).replace("/live/", "/movie/").replace("/7.m3u8", "/42.mkv"));
    const CatalogDetail series
        = XtreamReaders::catalogDetail(R"({"episodes":{"1":[{"id":"31","episode_num":1,"title":"U"}]}})",
            source, title(CatalogKind::series));
    QCOMPARE(series.episodes.front().channel.encodedURL(),
        QByteArray(expected).replace("/live/", "/series/").replace("/7.m3u8", "/31.mp4"));
}

void TestXtreamReaders::catalogItemRows_data()
{
    QTest::addColumn<CatalogKind>("kind");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QStringList>("items"); // "id name", in order
    QTest::addColumn<QString>("failure");

    const auto row = [](const char *name, CatalogKind kind, const QByteArray &body, const QStringList &items,
                         const QString &failure = QString()) {
        QTest::newRow(name) << kind << body << items << failure;
    };
    const CatalogKind movies = CatalogKind::movies;
    const CatalogKind series = CatalogKind::series;
    row("movies by stream_id", movies,
        R"([{"stream_id":10,"series_id":90,"name":"A"},{"stream_id":"11","name":"B"},{"series_id":12,"name":"C"}])",
        {u"10 A"_s, u"11 B"_s});
    row("series by series_id", series,
        R"([{"series_id":20,"stream_id":80,"name":"A"},{"series_id":"21","name":"B"},{"stream_id":22,"name":"C"}])",
        {u"20 A"_s, u"21 B"_s});
    row("answer order kept", movies, R"([{"stream_id":3,"name":"C"},{"stream_id":1,"name":"A"}])",
        {u"3 C"_s, u"1 A"_s});
    row("unusable ids skipped", movies,
        R"([{"stream_id":"","name":"a"},{"stream_id":null,"name":"b"},{"stream_id":"1a","name":"c"},)"
        R"({"stream_id":1.5,"name":"d"},{"stream_id":-1,"name":"e"},{"stream_id":" 1","name":"f"},)"
        R"({"name":"g"},{"stream_id":"١٢","name":"h"},{"stream_id":{},"name":"i"},{"stream_id":7,"name":"Bo"}])",
        {u"7 Bo"_s});
    row("first of repeated ids wins", series,
        R"([{"series_id":5,"name":"Primer"},{"series_id":"5","name":"Segon"}])", {u"5 Primer"_s});
    row("name reads as text", movies, R"([{"stream_id":1,"name":1984},{"stream_id":2,"name":true}])",
        {u"1 1984"_s, u"2 1"_s});
    row("name missing, null or empty", movies,
        R"([{"stream_id":1},{"stream_id":2,"name":null},{"stream_id":3,"name":""},{"stream_id":4,"name":[]}])",
        {u"1 Sense títol"_s, u"2 Sense títol"_s, u"3 Sense títol"_s, u"4 Sense títol"_s});
    row("no rows", movies, "[]", {});
    row("an empty object means no rows", series, "{}", {});
    row("a non-empty object", movies, R"({"error":"no category"})", {}, badCatalogue);
    row("a row that is not an object", series, R"([{"series_id":1},[]])", {}, badCatalogue);
    row("a string", movies, R"("[]")", {}, jsonError);
    row("truncated", movies, R"([{"stream_id":1,"name":"A"})", {}, jsonError);
}

void TestXtreamReaders::catalogItemRows()
{
    QFETCH(CatalogKind, kind);
    QFETCH(QByteArray, body);
    QFETCH(QStringList, items);
    QFETCH(QString, failure);

    QList<CatalogItem> result;
    QCOMPARE(attempt(result, [&] { return XtreamReaders::catalogItems(body, kind, u"77"_s); }), failure);
    QStringList described;
    for (const CatalogItem &item : std::as_const(result)) {
        described.append(item.id + u' ' + item.name);
        QCOMPARE(item.kind, kind);
        QCOMPARE(item.categoryID, u"77"_s);
    }
    QCOMPARE(described, items);
}

void TestXtreamReaders::catalogItemField_data()
{
    QTest::addColumn<QByteArray>("row"); // the object's members after "stream_id":1
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("expected");

    const auto row = [](const char *name, const char *members, const char *field, const QString &expected) {
        QTest::newRow(name) << QByteArray(members) << QString::fromLatin1(field) << expected;
    };
    // poster: "cover" when the key is there, whatever it holds; else "stream_icon"
    row("poster from cover", R"("cover":"http://img.test/c.jpg","stream_icon":"http://img.test/i.jpg")",
        "poster", u"http://img.test/c.jpg"_s);
    row("poster from stream_icon", R"("stream_icon":"https://img.test/i.png")", "poster",
        u"https://img.test/i.png"_s);
    row("poster: null cover hides stream_icon", R"("cover":null,"stream_icon":"http://img.test/i.jpg")",
        "poster", none);
    row("poster: empty cover hides stream_icon", R"("cover":"","stream_icon":"http://img.test/i.jpg")",
        "poster", none);
    row("poster missing", R"("name":"x")", "poster", none);
    row("poster not http", R"("cover":"ftp://img.test/c.jpg")", "poster", none);
    row("poster relative", R"("cover":"/images/c.jpg")", "poster", none);
    row("poster with user information", R"("cover":"http://u:p@img.test/c.jpg")", "poster", none);
    row("poster escaped slashes", R"("stream_icon":"http:\/\/img.test:8080\/images\/c.jpg")", "poster",
        u"http://img.test:8080/images/c.jpg"_s);
    row("poster with a blank", R"("cover":"http://img.test/a b.jpg")", "poster",
        u"http://img.test/a%20b.jpg"_s);
    row("poster with a port and a query", R"("cover":"http://img.test:8080/p.jpg?w=200&h=300")", "poster",
        u"http://img.test:8080/p.jpg?w=200&h=300"_s);
    row("poster with a host only", R"("cover":"https://img.test")", "poster", u"https://img.test"_s);
    // year: "year", else "releaseDate", else "release_date", by presence; four characters
    row("year", R"("year":"2019","releaseDate":"2018-01-01")", "year", u"2019"_s);
    row("year a number", R"("year":2019)", "year", u"2019"_s);
    row("year from releaseDate", R"("releaseDate":"2018-05-04","release_date":"2017-01-01")", "year",
        u"2018"_s);
    row("year from release_date", R"("release_date":"2017-01-01")", "year", u"2017"_s);
    row("empty year hides the dates", R"("year":"","releaseDate":"2018-05-04")", "year", QString());
    row("null year hides the dates", R"("year":null,"release_date":"2017-01-01")", "year", QString());
    row("empty releaseDate hides release_date", R"("releaseDate":"","release_date":"2017-01-01")", "year",
        QString());
    row("year shorter than four", R"("year":"99")", "year", u"99"_s);
    row("year cut to four characters", R"("year":"1999-2003")", "year", u"1999"_s);
    // Four characters as a person counts them: never through a surrogate pair or before an accent.
    row("year cut after a combining accent", "\"year\":\"19e\u0301xx\"", "year", u"19e\u0301x"_s);
    row("year cut after an astral character", "\"year\":\"19\U0001F3AC0xx\"", "year", u"19\U0001F3AC0"_s);
    // rating and plot unchanged
    row("rating text", R"("rating":"6.3")", "rating", u"6.3"_s);
    row("rating a number", R"("rating":7.8)", "rating", u"7.8"_s);
    row("rating a whole number", R"("rating":5.0)", "rating", u"5"_s);
    row("rating negative", R"("rating":-2.5)", "rating", u"-2.5"_s);
    row("rating true", R"("rating":true)", "rating", u"1"_s);
    row("rating an object", R"("rating":{"imdb":7})", "rating", QString());
    row("rating untrimmed", R"("rating":" 7 ")", "rating", u" 7 "_s);
    row("plot unchanged", R"("plot":"  Dues línies\n\nsegona  ")", "plot", u"  Dues línies\n\nsegona  "_s);
    // extension
    row("extension", R"("container_extension":"mkv")", "fileExtension", u"mkv"_s);
    row("extension missing", R"("name":"x")", "fileExtension", u"mp4"_s);
    row("extension empty", R"("container_extension":"")", "fileExtension", u"mp4"_s);
    row("extension as given", R"("container_extension":"MKV")", "fileExtension", u"MKV"_s);
    // added: "added", else "last_modified", as a whole decimal number
    row("added", R"("added":"1535126376")", "added", u"1535126376"_s);
    row("added a number", R"("added":1535126376)", "added", u"1535126376"_s);
    row("added a fraction", R"("added":"12.5")", "added", u"12.5"_s);
    row("added from last_modified", R"("last_modified":"1530853152")", "added", u"1530853152"_s);
    row("empty added hides last_modified", R"("added":"","last_modified":"1530853152")", "added", u"0"_s);
    row("added with a blank", R"("added":" 123")", "added", u"0"_s);
    row("added with letters", R"("added":"123abc")", "added", u"0"_s);
    row("added a date", R"("added":"2018-08-25")", "added", u"0"_s);
    row("added missing", R"("name":"x")", "added", u"0"_s);
    row("added infinite", R"("added":"1e999")", "added", u"0"_s);
    row("added beyond 64 bits", R"("added":123456789012345678901234)", "added", u"1.2345678901234569e+23"_s);
    row("added in other digits", "\"added\":\"\u0661\u0662\"", "added", u"0"_s);
    // the argument, not the row, gives the category
    row("category from the request", R"("category_id":"5")", "categoryID", u"77"_s);
}

void TestXtreamReaders::catalogItemField()
{
    QFETCH(QByteArray, row);
    QFETCH(QString, field);
    QFETCH(QString, expected);

    const QByteArray body = "[{\"stream_id\":1," + row + "}]";
    const QList<CatalogItem> items = XtreamReaders::catalogItems(body, CatalogKind::movies, u"77"_s);
    QCOMPARE(items.size(), qsizetype(1));
    const CatalogItem &item = items.front();
    const QHash<QString, QString> fields {
        {u"poster"_s, urlText(item.poster)},
        {u"year"_s, item.year},
        {u"rating"_s, item.rating},
        {u"plot"_s, item.plot},
        {u"fileExtension"_s, item.fileExtension},
        {u"added"_s, QString::number(item.added, 'g', 17)},
        {u"categoryID"_s, item.categoryID},
    };
    QVERIFY(fields.contains(field));
    QCOMPARE(fields.value(field), expected);
}

void TestXtreamReaders::manyDifferentFieldsStayApart()
{
    // Prefixes of one another first ("mk", "mkv"…), then 1,200 others; 40 poster hosts.
    const QStringList firstExtensions = {u"mk"_s, u"mkv"_s, u"m"_s, u"mkv2"_s};
    const auto extensionOf = [&](int i) { return i < 4 ? firstExtensions.at(i) : u"e%1"_s.arg(i); };
    const auto posterOf
        = [](int i) { return u"http://h%1.img.test:8080/p/%2.jpg?w=%2"_s.arg(i % 40).arg(i); };
    const auto ratingOf = [](int i) { return i % 2 ? u"7"_s : u"7.%1"_s.arg(i); };
    QByteArray body = "[";
    for (int i = 0; i < 1200; ++i) {
        body += u"%1{\"stream_id\":%2,\"name\":\"T\",\"container_extension\":\"%3\",\"cover\":\"%4\","
                "\"rating\":\"%5\"}"_s.arg(i ? u","_s : QString())
                    .arg(i + 1)
                    .arg(extensionOf(i), posterOf(i), ratingOf(i))
                    .toUtf8();
    }
    body += ']';

    const QList<CatalogItem> items = XtreamReaders::catalogItems(body, CatalogKind::movies, u"1"_s);
    QCOMPARE(items.size(), 1200);
    for (int i = 0; i < 1200; ++i) {
        const CatalogItem &item = items.at(i);
        QCOMPARE(item.fileExtension, extensionOf(i));
        QCOMPARE(urlText(item.poster), posterOf(i));
        QCOMPARE(item.rating, ratingOf(i));
    }
}

void TestXtreamReaders::movieStream_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("itemExtension");
    QTest::addColumn<QString>("address"); // after the base, or the failure
    QTest::addColumn<QString>("failure");

    const auto row = [](const char *name, const char *body, const QString &itemExtension,
                         const QString &address, const QString &failure = QString()) {
        QTest::newRow(name) << QByteArray(body) << itemExtension << address << failure;
    };
    row("extension from movie_data", R"({"movie_data":{"container_extension":"avi"}})", u"mkv"_s,
        u"/movie/user/pass/42.avi"_s);
    row("extension from the title", R"({"info":{}})", u"mkv"_s, u"/movie/user/pass/42.mkv"_s);
    row("empty extension in movie_data", R"({"movie_data":{"container_extension":""}})", u"mkv"_s,
        u"/movie/user/pass/42.mkv"_s);
    row("movie_data an array", R"({"movie_data":[{"container_extension":"avi"}]})", u"mkv"_s,
        u"/movie/user/pass/42.mkv"_s);
    row("extension a number", R"({"movie_data":{"container_extension":3}})", u"mkv"_s,
        u"/movie/user/pass/42.3"_s);
    row("extension in upper case", R"({"movie_data":{"container_extension":"MKV"}})", u"mp4"_s,
        u"/movie/user/pass/42.MKV"_s);
    row("extension of ten characters", R"({"movie_data":{"container_extension":"abcdefghij"}})", u"mp4"_s,
        u"/movie/user/pass/42.abcdefghij"_s);
    row("stream_id of movie_data ignored", R"({"movie_data":{"stream_id":1167019}})", u"mp4"_s,
        u"/movie/user/pass/42.mp4"_s);
    row("no extension anywhere", R"({"info":{}})", QString(), QString(), badVideoFormat);
    row("bad extension of the title", R"({"info":{}})", u"mp4;rm"_s, QString(), badVideoFormat);
}

void TestXtreamReaders::movieStream()
{
    QFETCH(QByteArray, body);
    QFETCH(QString, itemExtension);
    QFETCH(QString, address);
    QFETCH(QString, failure);

    CatalogItem item = title(CatalogKind::movies);
    item.fileExtension = itemExtension;
    CatalogDetail detail;
    QCOMPARE(attempt(detail, [&] { return XtreamReaders::catalogDetail(body, provider(), item); }), failure);
    if (!failure.isEmpty())
        return;
    QVERIFY(detail.movie);
    QVERIFY(detail.episodes.isEmpty());
    QCOMPARE(detail.item, item);
    QCOMPARE(detail.movie->name(), u"Títol"_s);
    QCOMPARE(detail.movie->group(), u"Pel·lícules"_s);
    QCOMPARE(QString::fromLatin1(detail.movie->encodedURL()), providerBase + address);
    QVERIFY(!detail.movie->requiresCustomHeaders());
}

void TestXtreamReaders::detailField_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("expected");

    const auto row = [](const char *name, const char *body, const char *field, const QString &expected) {
        QTest::newRow(name) << QByteArray(body) << QString::fromLatin1(field) << expected;
    };
    row("plot", R"({"info":{"plot":"Trama","description":"Descripció"}})", "plot", u"Trama"_s);
    row("plot from description", R"({"info":{"description":"Descripció"}})", "plot", u"Descripció"_s);
    row("empty plot falls back to the title", R"({"info":{"plot":"","description":"Descripció"}})", "plot",
        u"Sinopsi de la llista"_s);
    row("null plot falls back to the title", R"({"info":{"plot":null,"description":"Descripció"}})", "plot",
        u"Sinopsi de la llista"_s);
    row("no plot falls back to the title", R"({"info":{"name":"x"}})", "plot", u"Sinopsi de la llista"_s);
    row("plot a number", R"({"info":{"plot":42}})", "plot", u"42"_s);
    row("plot untrimmed", R"({"info":{"plot":" a\nb "}})", "plot", u" a\nb "_s);
    row("cast", R"({"info":{"cast":"A, B","actors":"C"}})", "cast", u"A, B"_s);
    row("cast from actors", R"({"info":{"actors":"C, D"}})", "cast", u"C, D"_s);
    row("empty cast hides actors", R"({"info":{"cast":"","actors":"C"}})", "cast", QString());
    row("genre", R"({"info":{"genre":"Drama \/ Crim"}})", "genre", u"Drama / Crim"_s);
    row("genre missing", R"({"info":{}})", "genre", QString());
    row("duration", R"({"info":{"duration":"01:42:00","duration_secs":6120}})", "duration", u"01:42:00"_s);
    row("poster from cover",
        R"({"info":{"cover":"http://img.test/c.jpg","movie_image":"http://img.test/m.jpg"}})", "poster",
        u"http://img.test/c.jpg"_s);
    row("poster from movie_image", R"({"info":{"movie_image":"https:\/\/img.test\/m.jpg"}})", "poster",
        u"https://img.test/m.jpg"_s);
    row("empty cover hides movie_image, title's poster",
        R"({"info":{"cover":"","movie_image":"http://img.test/m.jpg"}})", "poster",
        u"http://provider.test/llista.jpg"_s);
    row("unusable poster, title's poster", R"({"info":{"cover":"img/c.jpg"}})", "poster",
        u"http://provider.test/llista.jpg"_s);
    row("no poster, title's poster", R"({"info":{}})", "poster", u"http://provider.test/llista.jpg"_s);
    row("info an array", R"({"info":[{"plot":"x","genre":"y"}]})", "plot", u"Sinopsi de la llista"_s);
    row("info null", R"({"info":null})", "poster", u"http://provider.test/llista.jpg"_s);
    row("fields outside info ignored",
        R"({"info":{},"plot":"x","genre":"y","cover":"http://img.test/c.jpg"})", "plot",
        u"Sinopsi de la llista"_s);
    row("movie_data fields ignored", R"({"movie_data":{"plot":"x","name":"Nom"}})", "plot",
        u"Sinopsi de la llista"_s);
}

void TestXtreamReaders::detailField()
{
    QFETCH(QByteArray, body);
    QFETCH(QString, field);
    QFETCH(QString, expected);

    for (const CatalogKind kind : CatalogKinds::allCases) {
        const CatalogItem item = title(kind);
        const CatalogDetail detail = XtreamReaders::catalogDetail(body, provider(), item);
        QCOMPARE(detail.item, item);
        QCOMPARE(detail.movie.has_value(), kind == CatalogKind::movies);
        const QHash<QString, QString> fields {
            {u"plot"_s, detail.plot},
            {u"cast"_s, detail.cast},
            {u"genre"_s, detail.genre},
            {u"duration"_s, detail.duration},
            {u"poster"_s, urlText(detail.poster)},
        };
        QVERIFY(fields.contains(field));
        QCOMPARE(fields.value(field), expected);
    }
}

void TestXtreamReaders::detailWithoutTitleFallbacks()
{
    CatalogItem item = title(CatalogKind::series);
    item.plot.clear();
    item.poster.reset();
    const CatalogDetail detail = XtreamReaders::catalogDetail(R"({"info":{"cover":"x"}})", provider(), item);
    QCOMPARE(detail.plot, QString());
    QVERIFY(!detail.poster);
    QVERIFY(detail.episodes.isEmpty());
    QVERIFY(!detail.movie);
}

void TestXtreamReaders::seriesEpisodes_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QStringList>("episodes");

    const auto row = [](const char *name, const char *body, const QStringList &episodes) {
        QTest::newRow(name) << QByteArray(body) << episodes;
    };
    row("seasons keyed by number",
        R"({"episodes":{"1":[{"id":"101","episode_num":1,"title":"Pilot","container_extension":"mkv"},)"
        R"({"id":"102","episode_num":"2","title":"Segon"}],)"
        R"("2":[{"id":"201","episode_num":1,"title":"Tornada","container_extension":"avi"}]}})",
        {episodeLine(1, 1, u"101"_s, u"Pilot"_s, u"mkv"_s), episodeLine(1, 2, u"102"_s, u"Segon"_s),
            episodeLine(2, 1, u"201"_s, u"Tornada"_s, u"avi"_s)});
    row("episode season wins over the key",
        R"({"episodes":{"1":[{"id":"5","season":3,"episode_num":1,"title":"a"},{"id":"6","season":"2","episode_num":1,"title":"b"}]}})",
        {episodeLine(2, 1, u"6"_s, u"b"_s), episodeLine(3, 1, u"5"_s, u"a"_s)});
    row("unreadable episode season falls back to the key",
        R"({"episodes":{"4":[{"id":"1","season":"T1","episode_num":1,"title":"a"},{"id":"2","season":null,"episode_num":2,"title":"b"},)"
        R"({"id":"3","season":1.5,"episode_num":3,"title":"c"},{"id":"4","season":"","episode_num":4,"title":"d"}]}})",
        {episodeLine(4, 1, u"1"_s, u"a"_s), episodeLine(4, 2, u"2"_s, u"b"_s),
            episodeLine(4, 3, u"3"_s, u"c"_s), episodeLine(4, 4, u"4"_s, u"d"_s)});
    row("season keys as signed integers",
        R"({"episodes":{"-1":[{"id":"1","episode_num":1,"title":"a"}],"+2":[{"id":"2","episode_num":1,"title":"b"}],)"
        R"("03":[{"id":"3","episode_num":1,"title":"c"}]}})",
        {episodeLine(-1, 1, u"1"_s, u"a"_s), episodeLine(2, 1, u"2"_s, u"b"_s),
            episodeLine(3, 1, u"3"_s, u"c"_s)});
    row("unreadable season keys read as 0",
        R"({"episodes":{"Especials":[{"id":"1","episode_num":2,"title":"a"}]," 5":[{"id":"2","episode_num":1,"title":"b"}],)"
        R"("99999999999999999999":[{"id":"3","episode_num":3,"title":"c"}],"":[{"id":"4","episode_num":4,"title":"d"}]}})",
        {episodeLine(0, 1, u"2"_s, u"b"_s), episodeLine(0, 2, u"1"_s, u"a"_s),
            episodeLine(0, 3, u"3"_s, u"c"_s), episodeLine(0, 4, u"4"_s, u"d"_s)});
    row("seasons that are not arrays of objects skipped",
        R"({"episodes":{"1":null,"2":7,"3":{"id":"30"},"4":[{"id":"40","title":"a"},1],"5":[],"6":[{"id":"60","episode_num":1,"title":"Bo"}]}})",
        {episodeLine(6, 1, u"60"_s, u"Bo"_s)});
    row("array of arrays: position is the season",
        R"({"episodes":[[{"id":"1","episode_num":1,"title":"a"}],[{"id":"2","episode_num":1,"title":"b"}],)"
        R"([{"id":"3","season":7,"episode_num":1,"title":"c"}]]})",
        {episodeLine(0, 1, u"1"_s, u"a"_s), episodeLine(1, 1, u"2"_s, u"b"_s),
            episodeLine(7, 1, u"3"_s, u"c"_s)});
    row("array of arrays: unusable positions still count",
        R"({"episodes":[null,{"id":"9"},[1],[{"id":"4","episode_num":1,"title":"d"}]]})",
        {episodeLine(3, 1, u"4"_s, u"d"_s)});
    row("episodes null", R"({"episodes":null})", {});
    row("episodes a flat array of episodes", R"({"episodes":[{"id":"1","title":"a"}]})", {});
    row("no episodes key", R"({"info":{"name":"x"}})", {});
    row("unusable episode ids skipped",
        R"({"episodes":{"1":[{"id":"","title":"a"},{"id":null,"title":"b"},{"title":"c"},{"id":"1a","title":"d"},)"
        R"({"id":1.5,"title":"e"},{"id":"-1","title":"f"},{"id":"١","title":"g"},{"id":[1],"title":"h"},)"
        R"({"id":77,"episode_num":1,"title":"Bo"}]}})",
        {episodeLine(1, 1, u"77"_s, u"Bo"_s)});
    row("first of repeated ids wins across seasons",
        R"({"episodes":{"1":[{"id":"5","episode_num":1,"title":"Primer"}],"2":[{"id":5,"episode_num":1,"title":"Segon"}]}})",
        {episodeLine(1, 1, u"5"_s, u"Primer"_s)});
    row("episode number unreadable reads as 0",
        R"({"episodes":{"1":[{"id":"1","episode_num":"u","title":"a"},{"id":"2","title":"b"},{"id":"3","episode_num":2.5,"title":"c"}]}})",
        {episodeLine(1, 0, u"1"_s, u"a"_s), episodeLine(1, 0, u"2"_s, u"b"_s),
            episodeLine(1, 0, u"3"_s, u"c"_s)});
    row("title missing or empty",
        R"({"episodes":{"1":[{"id":"1","episode_num":3},{"id":"2","episode_num":4,"title":""},{"id":"3","title":null}]}})",
        {episodeLine(1, 0, u"3"_s, u"Episodi 0"_s), episodeLine(1, 3, u"1"_s, u"Episodi 3"_s),
            episodeLine(1, 4, u"2"_s, u"Episodi 4"_s)});
    row("title a number", R"({"episodes":{"1":[{"id":"1","episode_num":1,"title":24}]}})",
        {episodeLine(1, 1, u"1"_s, u"24"_s)});
    row("extension missing, empty or null",
        R"({"episodes":{"1":[{"id":"1","episode_num":1,"title":"a"},{"id":"2","episode_num":2,"title":"b","container_extension":""},)"
        R"({"id":"3","episode_num":3,"title":"c","container_extension":null}]}})",
        {episodeLine(1, 1, u"1"_s, u"a"_s), episodeLine(1, 2, u"2"_s, u"b"_s),
            episodeLine(1, 3, u"3"_s, u"c"_s)});
    row("sorted by season, number, then id as text",
        R"({"episodes":{"2":[{"id":"8","episode_num":1,"title":"d"}],)"
        R"("1":[{"id":"99","episode_num":2,"title":"c"},{"id":"100","episode_num":2,"title":"b"},)"
        R"({"id":"7","episode_num":1,"title":"a"}]}})",
        {episodeLine(1, 1, u"7"_s, u"a"_s), episodeLine(1, 2, u"100"_s, u"b"_s),
            episodeLine(1, 2, u"99"_s, u"c"_s), episodeLine(2, 1, u"8"_s, u"d"_s)});
}

void TestXtreamReaders::seriesEpisodes()
{
    QFETCH(QByteArray, body);
    QFETCH(QStringList, episodes);

    const CatalogDetail detail = XtreamReaders::catalogDetail(body, provider(), title(CatalogKind::series));
    QVERIFY(!detail.movie);
    QStringList described;
    for (const CatalogEpisode &episode : detail.episodes) {
        described.append(describe(episode));
        QCOMPARE(episode.channel.name(), episode.title);
        QVERIFY(!episode.channel.requiresCustomHeaders());
    }
    QCOMPARE(described, episodes);
}

void TestXtreamReaders::episodeInfo_data()
{
    QTest::addColumn<QByteArray>("info");
    QTest::addColumn<QString>("expected"); // "plot | duration | image"

    const auto row = [](const char *name, const char *info, const QString &expected) {
        QTest::newRow(name) << QByteArray(info) << expected;
    };
    row("all", R"({"plot":"Comença.","duration":"00:45:00","movie_image":"http://img.test/e1.jpg"})",
        u"Comença. | 00:45:00 | http://img.test/e1.jpg"_s);
    row("numbers", R"({"plot":1,"duration":2700,"movie_image":3})", u"1 | 2700 | <none>"_s);
    row("image not http", R"({"movie_image":"file:///etc/passwd"})", u" |  | <none>"_s);
    row("image escaped", R"({"movie_image":"https:\/\/image.test\/t\/p\/w400\/a.jpg"})",
        u" |  | https://image.test/t/p/w400/a.jpg"_s);
    row("cover ignored", R"({"cover_big":"http://img.test/big.jpg","cover":"http://img.test/c.jpg"})",
        u" |  | <none>"_s);
    row("description ignored", R"({"description":"x"})", u" |  | <none>"_s);
    row("empty", "{}", u" |  | <none>"_s);
    row("an array", R"([{"plot":"x"}])", u" |  | <none>"_s);
}

void TestXtreamReaders::episodeInfo()
{
    QFETCH(QByteArray, info);
    QFETCH(QString, expected);

    const QByteArray body
        = R"({"episodes":{"1":[{"id":"1","episode_num":1,"title":"a","info":)" + info + "}]}}";
    const CatalogDetail detail = XtreamReaders::catalogDetail(body, provider(), title(CatalogKind::series));
    QCOMPARE(detail.episodes.size(), qsizetype(1));
    const CatalogEpisode &episode = detail.episodes.front();
    QCOMPARE(episode.plot + u" | "_s + episode.duration + u" | "_s + urlText(episode.image), expected);
}

void TestXtreamReaders::hostile_data()
{
    QTest::addColumn<QString>("reader");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("failure"); // empty: reads without failing

    const auto row = [](const QString &name, const QString &reader, const QByteArray &body,
                         const QString &failure = QString()) {
        QTest::newRow(qPrintable(reader + u": "_s + name)) << reader << body << failure;
    };
    const QStringList readers {u"account"_s, u"liveCategories"_s, u"liveStreams"_s, u"catalogCategories"_s,
        u"movieItems"_s, u"seriesItems"_s, u"movieDetail"_s, u"seriesDetail"_s};
    const QByteArray deep = nested(100000, "1");
    QByteArray objects;
    for (int i = 0; i < 50000; ++i)
        objects += "{\"a\":";
    objects += "1" + QByteArray(50000, '}');
    for (const QString &reader : readers) {
        // Beyond the parser's nesting limit: refused as JSON, never a crash.
        row(u"arrays nested 100,000 deep"_s, reader, deep, jsonError);
        row(u"objects nested 50,000 deep"_s, reader, objects, jsonError);
        row(u"only opening brackets"_s, reader, QByteArray(100000, '['), jsonError);
        row(u"a lone surrogate escape"_s, reader, R"([{"stream_id":1,"name":"\ud800"}])", jsonError);
        row(u"a NUL byte outside strings"_s, reader, QByteArray("[{\"stream_id\":1}]\0", 16), jsonError);
        row(u"a byte-order mark"_s, reader, "\xef\xbb\xbf[]", jsonError);
        row(u"overlong UTF-8"_s, reader, "[{\"name\":\"\xc0\x80\"}]", jsonError);
        row(u"minus alone"_s, reader, R"([{"stream_id":-}])", jsonError);
        row(u"leading zero"_s, reader, R"([{"stream_id":012}])", jsonError);
        row(u"cut inside an escape"_s, reader, "[{\"name\":\"\\u00", jsonError);
    }

    // Garbage of every type where values belong: nothing usable, no crash.
    const QByteArray garbage
        = R"({"user_info":[],"info":[1,{"plot":[]}],"movie_data":"x","episodes":{"1":[{"id":{"id":"1"}},{"id":[["1"]]}],"2":{"0":{"id":"2"}}},)"
          R"("stream_id":{},"series_id":[],"category_id":null,"name":{"x":[null,true,1.5e300]},"allowed_output_formats":[{}]})";
    row(u"garbage object"_s, u"account"_s, garbage, refused);
    row(u"garbage object"_s, u"liveCategories"_s, garbage, badLiveCatalogue);
    row(u"garbage object"_s, u"liveStreams"_s, garbage, badLiveCatalogue);
    row(u"garbage object"_s, u"catalogCategories"_s, garbage, badCatalogue);
    row(u"garbage object"_s, u"movieItems"_s, garbage, badCatalogue);
    row(u"garbage object"_s, u"movieDetail"_s, garbage, detailRefused);
    const QByteArray garbageRows
        = R"([{"stream_id":{"stream_id":1},"series_id":[1],"category_id":{"category_id":"1"},"name":[["x"]],"id":[]},)"
          R"({"stream_id":[],"series_id":null,"category_id":[],"cover":{},"year":[],"added":{},"container_extension":[]}])";
    row(u"garbage rows"_s, u"account"_s, garbageRows, notAnAccount);
    row(u"garbage rows"_s, u"liveCategories"_s, garbageRows);
    row(u"garbage rows"_s, u"liveStreams"_s, garbageRows, noLiveChannels);
    row(u"garbage rows"_s, u"catalogCategories"_s, garbageRows);
    row(u"garbage rows"_s, u"movieItems"_s, garbageRows);
    row(u"garbage rows"_s, u"seriesItems"_s, garbageRows);
    row(u"garbage rows"_s, u"seriesDetail"_s, garbageRows, badDetail);
    // The refusals of a detail.
    row(u"an array"_s, u"movieDetail"_s, R"([{"info":{}}])", badDetail);
    row(u"null"_s, u"movieDetail"_s, "null", badDetail);
    row(u"an empty object"_s, u"movieDetail"_s, "{}", noDetail);
    row(u"only seasons"_s, u"seriesDetail"_s, R"({"seasons":[]})", noDetail);
    row(u"an account answer"_s, u"movieDetail"_s, R"({"user_info":{"auth":0}})", noDetail);
    row(u"an error alone"_s, u"seriesDetail"_s, R"({"error":"not found"})", noDetail);
    row(u"info with user_info"_s, u"movieDetail"_s, R"({"info":{},"user_info":{"auth":1}})", detailRefused);
    row(u"info with error"_s, u"seriesDetail"_s, R"({"info":{"name":"x"},"error":"denied"})", detailRefused);
    row(u"null info with error"_s, u"movieDetail"_s, R"({"info":null,"error":null})", detailRefused);
    row(u"episodes with error"_s, u"seriesDetail"_s, R"({"episodes":{},"error":false})", detailRefused);
    row(u"movie extension with a dot"_s, u"movieDetail"_s, R"({"movie_data":{"container_extension":"m.p4"}})",
        badVideoFormat);
    row(u"movie extension with a blank"_s, u"movieDetail"_s,
        R"({"movie_data":{"container_extension":"mp4 "}})", badVideoFormat);
    row(u"movie extension of eleven characters"_s, u"movieDetail"_s,
        R"({"movie_data":{"container_extension":"abcdefghijk"}})", badVideoFormat);
    row(u"movie extension with a query"_s, u"movieDetail"_s,
        R"({"movie_data":{"container_extension":"mp4?a=1"}})", badVideoFormat);
    row(u"movie extension outside ASCII"_s, u"movieDetail"_s,
        R"({"movie_data":{"container_extension":"mpé"}})", badVideoFormat);
    row(u"movie extension negative"_s, u"movieDetail"_s, R"({"movie_data":{"container_extension":-4}})",
        badVideoFormat);
    row(u"episode extension bad"_s, u"seriesDetail"_s,
        R"({"episodes":{"1":[{"id":"1","container_extension":"mp4"},{"id":"2","container_extension":"m p4"}]}})",
        badVideoFormat);
    row(u"truncated"_s, u"seriesDetail"_s, R"({"info":{"plot":"a"},"episodes":{"1":[{"id":"1")", jsonError);
    // Deep but within the parser's limit, where a value belongs.
    const QByteArray deepValue = "[{\"stream_id\":1,\"category_id\":" + nested(500, "\"1\"")
        + ",\"name\":" + nested(500, "{}") + ",\"category_name\":" + nested(500, "null") + "}]";
    row(u"values nested 500 deep"_s, u"liveCategories"_s, deepValue);
    row(u"values nested 500 deep"_s, u"liveStreams"_s, deepValue);
    row(u"values nested 500 deep"_s, u"catalogCategories"_s, deepValue);
    row(u"values nested 500 deep"_s, u"movieItems"_s, deepValue);
    row(u"episodes nested 500 deep"_s, u"seriesDetail"_s,
        "{\"episodes\":" + nested(500, "{\"id\":\"1\"}") + "}");
}

void TestXtreamReaders::hostile()
{
    QFETCH(QString, reader);
    QFETCH(QByteArray, body);
    QFETCH(QString, failure);

    QStringList lines;
    QCOMPARE(attempt(lines, [&] { return read(reader, body); }), failure);
}

void TestXtreamReaders::reads_data()
{
    QTest::addColumn<QString>("reader");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("expected"); // readThrough()

    const auto rowsOf = [](const QString &reader) {
        return [reader](const char *name, const QByteArray &body, const QString &expected) {
            QTest::newRow(qPrintable(reader + u": "_s + QString::fromUtf8(name)))
                << reader << body << expected;
        };
    };
    const auto account = rowsOf(u"account"_s);
    // auth reads as text and must be exactly "1"
    account("auth 1", R"({"user_info":{"auth":1}})", u"m3u8"_s);
    account("auth \"1\"", R"({"user_info":{"auth":"1"}})", u"m3u8"_s);
    account("auth true", R"({"user_info":{"auth":true}})", u"m3u8"_s);
    account("auth 1.0", R"({"user_info":{"auth":1.0}})", u"m3u8"_s);
    account("auth 0", R"({"user_info":{"auth":0}})", refused);
    account("auth missing", R"({"user_info":{"status":"Active"}})", refused);
    account("auth 2", R"({"user_info":{"auth":2}})", refused);
    account("auth \" 1\"", R"({"user_info":{"auth":" 1"}})", refused);
    account("auth \"01\"", R"({"user_info":{"auth":"01"}})", refused);
    account("auth [1]", R"({"user_info":{"auth":[1]}})", refused);
    account("no user_info", R"({"server_info":{"url":"x"}})", refused);
    account("user_info an array", R"({"user_info":[{"auth":1}]})", refused);
    account("account fields at the top level", R"({"auth":1,"status":"Active"})", refused);
    // status: only a string that is not "active" in any case refuses
    account("status Active", R"({"user_info":{"auth":1,"status":"Active"}})", u"m3u8"_s);
    account("status ACTIVE", R"({"user_info":{"auth":1,"status":"ACTIVE"}})", u"m3u8"_s);
    account("status Expired", R"({"user_info":{"auth":1,"status":"Expired"}})", inactive);
    account("status empty", R"({"user_info":{"auth":1,"status":""}})", inactive);
    account("status with blanks", R"({"user_info":{"auth":1,"status":" Active"}})", inactive);
    account("status a number", R"({"user_info":{"auth":1,"status":0}})", u"m3u8"_s);
    account("status an array", R"({"user_info":{"auth":1,"status":["Expired"]}})", u"m3u8"_s);
    account("refusal before status", R"({"user_info":{"auth":0,"status":"Expired"}})", refused);
    account("status before formats",
        R"({"user_info":{"auth":1,"status":"Disabled","allowed_output_formats":["rtmp"]}})", inactive);
    // allowed_output_formats
    account("m3u8 ts rtmp", R"({"user_info":{"auth":1,"allowed_output_formats":["m3u8","ts","rtmp"]}})",
        u"m3u8"_s);
    account("ts then m3u8", R"({"user_info":{"auth":1,"allowed_output_formats":["ts","m3u8"]}})", u"m3u8"_s);
    account("ts only", R"({"user_info":{"auth":1,"allowed_output_formats":["ts"]}})", u"ts"_s);
    account("rtmp only", R"({"user_info":{"auth":1,"allowed_output_formats":["rtmp"]}})", noFormat);
    account("no format listed", R"({"user_info":{"auth":1,"allowed_output_formats":[]}})", noFormat);
    account(
        "upper-case formats", R"({"user_info":{"auth":1,"allowed_output_formats":["M3U8","TS"]}})", noFormat);
    account(
        "format with a blank", R"({"user_info":{"auth":1,"allowed_output_formats":["m3u8 "]}})", noFormat);
    account(
        "formats with a number", R"({"user_info":{"auth":1,"allowed_output_formats":["ts",1]}})", u"m3u8"_s);
    account("formats a string", R"({"user_info":{"auth":1,"allowed_output_formats":"ts"}})", u"m3u8"_s);
    account("formats beside user_info", R"({"user_info":{"auth":1},"allowed_output_formats":["rtmp"]})",
        u"m3u8"_s);
    // not an object
    account("an array", R"([{"user_info":{"auth":1}}])", notAnAccount);
    account("a number", "1", notAnAccount);
    // not JSON
    account("empty body", "", jsonError);
    account("html", "<html><body>Forbidden</body></html>", jsonError);
    account("truncated", "{\"user_info\":{\"auth\":1,\"status\":\"Act", jsonError);
    account("two documents", R"({"user_info":{"auth":1}} {})", jsonError);
    account("invalid UTF-8 in a value", "{\"user_info\":{\"auth\":1,\"message\":\"caf\xe9\"}}", jsonError);
    account("number out of range", R"({"user_info":{"auth":1,"exp_date":1e400}})", u"m3u8"_s);
    account("number out of range and a bad number", R"({"user_info":{"auth":1,"exp_date":1e400,"x":01}})",
        jsonError);
    // Live categories: "id=name", sorted.
    const auto liveCategories = rowsOf(u"liveCategories"_s);
    liveCategories("strings",
        R"([{"category_id":"1","category_name":"Esports"},{"category_id":"2","category_name":"Notícies"}])",
        u"1=Esports\n2=Notícies"_s);
    liveCategories("id a number", R"([{"category_id":7,"category_name":"Cinema"}])", u"7=Cinema"_s);
    liveCategories("id 7.5", R"([{"category_id":7.5,"category_name":"Cinema"}])", u"7.5=Cinema"_s);
    liveCategories(
        "id not digits kept", R"([{"category_id":"esp","category_name":"Esports"}])", u"esp=Esports"_s);
    liveCategories("id null", R"([{"category_id":null,"category_name":"Sense id"}])", u"=Sense id"_s);
    liveCategories("id missing", R"([{"category_name":"Sense id"}])", u"=Sense id"_s);
    liveCategories("name a number", R"([{"category_id":"1","category_name":5}])", u"1=Directe"_s);
    liveCategories("name missing", R"([{"category_id":"1"}])", u"1=Directe"_s);
    liveCategories("name empty", R"([{"category_id":"1","category_name":""}])", u"1="_s);
    liveCategories(
        "name untrimmed", R"([{"category_id":"1","category_name":"  Esports "}])", u"1=  Esports "_s);
    liveCategories("name escaped",
        R"([{"category_id":"1","category_name":"Pel\u00b7l\u00edcules \/ \uD83D\uDD1E"}])",
        u"1=Pel·lícules / 🔞"_s);
    liveCategories("later rows replace earlier",
        R"([{"category_id":"1","category_name":"A"},{"category_id":1,"category_name":"B"},{"category_id":"2","category_name":"C"}])",
        u"1=B\n2=C"_s);
    liveCategories("no rows", "[]", QString());
    liveCategories("rows without keys", "[{},{}]", u"=Directe"_s);
    liveCategories("an object", R"({"1":"Esports"})", badLiveCatalogue);
    liveCategories(
        "a number in the array", R"([{"category_id":"1","category_name":"A"},1])", badLiveCatalogue);
    liveCategories("truncated", R"([{"category_id":"1","category_name":"A"},{"category_id")", jsonError);
    // Movie and series categories: "id=name", in order.
    const auto catalogCategories = rowsOf(u"catalogCategories"_s);
    catalogCategories("ids as strings and numbers",
        R"([{"category_id":"10","category_name":"Acció"},{"category_id":11,"category_name":"Comèdia"}])",
        u"10=Acció\n11=Comèdia"_s);
    catalogCategories("answer order kept",
        R"([{"category_id":"3","category_name":"C"},{"category_id":"1","category_name":"A"}])",
        u"3=C\n1=A"_s);
    catalogCategories("name a number", R"([{"category_id":"1","category_name":2024}])", u"1=2024"_s);
    catalogCategories("name null", R"([{"category_id":"1","category_name":null}])", u"1=Sense categoria"_s);
    catalogCategories("name empty", R"([{"category_id":"1","category_name":""}])", u"1=Sense categoria"_s);
    catalogCategories("name untrimmed", R"([{"category_id":"1","category_name":" A "}])", u"1= A "_s);
    catalogCategories("unusable ids skipped",
        R"([{"category_id":"","category_name":"a"},{"category_id":null,"category_name":"b"},)"
        R"({"category_id":"1a","category_name":"c"},{"category_id":1.5,"category_name":"d"},)"
        R"({"category_id":-1,"category_name":"e"},{"category_id":" 1","category_name":"f"},)"
        R"({"category_name":"g"},{"category_id":"١","category_name":"h"},{"category_id":[1],"category_name":"i"},)"
        R"({"category_id":"8","category_name":"Bo"}])",
        u"8=Bo"_s);
    catalogCategories("first of repeated ids wins",
        R"([{"category_id":"1","category_name":"Primer"},{"category_id":1,"category_name":"Segon"}])",
        u"1=Primer"_s);
    catalogCategories("no rows", "[]", QString());
    catalogCategories("an empty object means no rows", "{}", QString());
    catalogCategories("rows without ids", "[{},{}]", QString());
    catalogCategories("a non-empty object", R"({"1":{"category_id":"1"}})", badCatalogue);
    catalogCategories(
        "a number in the array", R"([{"category_id":"1","category_name":"A"},1])", badCatalogue);
    // The top level of a catalogue answer is an object or an array; anything else is malformed JSON.
    catalogCategories("a string", R"("")", jsonError);
    catalogCategories("a number", "12", jsonError);
    catalogCategories("truncated", R"([{"category_id":"1")", jsonError);

    const QString live = providerBase + u"/live/user/pass/"_s;
    const QString series = providerBase + u"/series/user/pass/"_s;
    const auto movieItems = rowsOf(u"movieItems"_s);
    const auto seriesDetail = rowsOf(u"seriesDetail"_s);
    const auto liveStreams = rowsOf(u"liveStreams"_s);
    movieItems("64-bit edges",
        R"([{"stream_id":9223372036854775807,"name":-9223372036854775808,"rating":1e-7,)"
        R"("year":123456789,"added":1.7976931348623157e308},)"
        R"({"stream_id":18446744073709551615,"name":0.5,"added":"-0"}])",
        u"9223372036854775807 -9223372036854775808 year=1234 rating=1e-07 added=1.7976931348623157e+308\n"_s
        u"18446744073709551615 0.5 year= rating= added=0"_s);
    // A season key out of range reads as 0, and the episode's season falls back to it.
    seriesDetail("64-bit edges",
        R"({"episodes":{"9223372036854775807":[{"id":"1","episode_num":"-9223372036854775808"}],)"
        R"("9223372036854775808":[{"id":"2","season":"-9223372036854775809","episode_num":"+7"}]}})",
        u"duration=\nS0 E7 #2 Episodi 7 | Títol · T0 E7 | "_s + series + u"2.mp4\n"_s
            + u"S9223372036854775807 E-9223372036854775808 #1 Episodi -9223372036854775808 | "_s
            + u"Títol · T9223372036854775807 E-9223372036854775808 | "_s + series + u"1.mp4"_s);
    // In fields that are not read.
    account("1e400 in an ignored field",
        R"({"user_info":{"auth":1,"exp_date":1e400},"server_info":{"port":"80"}})", u"m3u8"_s);
    account("-1e400 and a 23-digit integer in ignored fields",
        R"({"user_info":{"auth":"1","max_connections":99999999999999999999999,)"
        R"("allowed_output_formats":["ts"]},"server_info":{"timestamp_now":-1e400}})",
        u"ts"_s);
    liveStreams("1e400 in num", R"([{"num":1e400,"stream_id":1,"name":"A","category_id":"1"}])",
        u"A | U | "_s + live + u"1.ts"_s);
    liveStreams("99999999999999999999999 in added",
        R"([{"stream_id":1,"name":"A","added":99999999999999999999999},{"stream_id":2,"name":"B"}])",
        u"A | Directe | "_s + live + u"1.ts\nB | Directe | "_s + live + u"2.ts"_s);
    // Where text is read, the number as written.
    liveStreams("stream_id beyond 64 bits is an id of digits",
        R"([{"stream_id":99999999999999999999999,"name":"A"}])",
        u"A | Directe | "_s + live + u"99999999999999999999999.ts"_s);
    liveStreams("stream_id 1e400 is no id",
        R"([{"stream_id":1e400,"name":"A"},{"stream_id":-1e400},{"stream_id":2,"name":"B"}])",
        u"B | Directe | "_s + live + u"2.ts"_s);
    liveStreams("category_id beyond 64 bits",
        R"([{"stream_id":3,"name":"C","category_id":99999999999999999999999}])",
        u"C | Gran | "_s + live + u"3.ts"_s);
    liveStreams("a name that is a number is no string", R"([{"stream_id":4,"name":1e400}])",
        u"Canal 4 | Directe | "_s + live + u"4.ts"_s);
    liveCategories("ids as written",
        R"([{"category_id":99999999999999999999999,"category_name":"Gran"},)"
        R"({"category_id":-1e400,"category_name":"Exp"},{"category_id":2,"category_name":1e400}])",
        u"-1e400=Exp\n2=Directe\n99999999999999999999999=Gran"_s);
    catalogCategories("an id beyond 64 bits, a name beyond a double",
        R"([{"category_id":99999999999999999999999,"category_name":"Gran"},)"
        R"({"category_id":1e400,"category_name":"Exp"},{"category_id":"2","category_name":-1e400}])",
        u"99999999999999999999999=Gran\n2=-1e400"_s);
    movieItems("added beyond a double is unknown, rating as written",
        R"([{"stream_id":1,"name":"A","added":1e400,"rating":1E+400,"num":99999999999999999999999},)"
        R"({"stream_id":99999999999999999999999,"name":"B","added":"1700000000","year":-1e400}])",
        u"1 A year= rating=1E+400 added=0\n99999999999999999999999 B year=-1e4 rating= added=1700000000"_s);
    movieItems("1e-400 is 0, only too large numbers are text",
        R"([{"stream_id":1,"name":"A","rating":1e-400,"added":1e400}])", u"1 A year= rating=0 added=0"_s);
    seriesDetail("episode fields beyond 64 bits",
        R"({"info":{"duration":1e400},"episodes":{"1":[{"id":"31","episode_num":99999999999999999999999,)"
        R"("title":"U","added":1e400}]}})",
        u"duration=1e400\nS1 E0 #31 U | Títol · T1 E0 | "_s + series + u"31.mp4"_s);
    // Still invalid JSON: a malformed number, or a body that already holds the escape of U+0000 (the
    // numbers are then left out: their keys read as null).
    movieItems("a malformed number beside one out of range", R"([{"stream_id":1,"added":1e400,"rating":1.}])",
        jsonError);
    catalogCategories("a body with the escape of U+0000",
        R"([{"category_id":"1","category_name":"a\u0000b","x":1e400},)"
        R"({"category_id":99999999999999999999999,"category_name":"Gran"}])",
        u"1=a\u0000b"_s);
    catalogCategories("numbers inside strings are not touched",
        R"([{"category_id":"1","category_name":"1e400 \"99999999999999999999999\" -5e999 \\","x":1e400}])",
        u"1=1e400 \"99999999999999999999999\" -5e999 \\"_s);
}

void TestXtreamReaders::reads()
{
    QFETCH(QString, reader);
    QFETCH(QByteArray, body);
    QFETCH(QString, expected);
    QCOMPARE(readThrough(reader, body), expected);
}

void TestXtreamReaders::cancelledReadersStop_data()
{
    QTest::addColumn<QString>("reader");
    for (const char *reader : {"liveCategories", "liveStreams", "catalogCategories", "movieItems"})
        QTest::newRow(reader) << QString::fromLatin1(reader);
}

void TestXtreamReaders::cancelledReadersStop()
{
    QFETCH(QString, reader);
    QByteArray body = "[";
    for (int i = 0; i < 20000; ++i)
        body += (i ? "," : "") + QByteArray(R"({"stream_id":)") + QByteArray::number(i) + R"(,"category_id":)"
            + QByteArray::number(i) + R"(,"name":"N"})";
    body += "]";
    const CancellationToken token = CancellationToken::create();
    token.cancel();
    QVERIFY_THROWS_EXCEPTION(CancelledError, read(reader, body, token.flag()));
    // With a live token the same body reads whole.
    QCOMPARE(read(reader, body).size(), 20000);
}

QTEST_GUILESS_MAIN(TestXtreamReaders)
#include "tst_xtream_readers.moc"
