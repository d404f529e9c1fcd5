// Provider answers written by other people (the shared fixtures' xtream folder), each served over
// loopback HTTP as the answer of the action it was captured from and read through the repositories:
// every one loads or fails with one of the exact texts, and what is known about particular files
// (counted from the files themselves) comes out of the read.

#include "Fixtures.h"
#include "LoopbackServer.h"
#include "Settled.h"
#include "XtreamTexts.h"
#include "repositories/CatalogRepository.h"
#include "repositories/PlaylistRepository.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QSet>
#include <QTest>
#include <QUrlQuery>

#include <algorithm>
#include <optional>

using namespace Qt::StringLiterals;
using Response = LoopbackServer::Response;
using Request = LoopbackServer::Request;

namespace {

const QString jsonError = u"<JsonError>"_s;
// An answer of an action the program never asks for (programme guides, server information).
const QString unusedAction = u"<unused>"_s;
const QString account = QString();

const QStringList loadFailures {XtreamTexts::notAnAccount, XtreamTexts::refused, XtreamTexts::inactive,
    XtreamTexts::noFormat, XtreamTexts::badLiveCatalogue, XtreamTexts::noLiveChannels};
const QStringList listFailures {XtreamTexts::badCatalogue};
const QStringList detailFailures {XtreamTexts::badDetail, XtreamTexts::noDetail, XtreamTexts::detailRefused,
    XtreamTexts::badVideoFormat};

const QString fallbackPlot = u"Sinopsi de la llista"_s;

QString xtreamFolder()
{
    return Fixtures::directory() + u"/xtream"_s;
}

// The action a file answers, from its name ("hellraiser-get_live_streams.json", "raw-movies.json"…).
std::optional<QString> actionOf(const QString &path)
{
    static const QList<std::pair<QRegularExpression, QString>> rules {
        {QRegularExpression(u"get_live_categories|^raw-categories"_s), u"get_live_categories"_s},
        {QRegularExpression(u"get_live_streams|^raw-channels"_s), u"get_live_streams"_s},
        {QRegularExpression(u"get_vod_categories|^raw-movie-categories"_s), u"get_vod_categories"_s},
        {QRegularExpression(u"get_series_categories|^raw-show-categories"_s), u"get_series_categories"_s},
        {QRegularExpression(u"get_vod_streams|^raw-movies"_s), u"get_vod_streams"_s},
        {QRegularExpression(u"series_info|^raw-show\\.json$"_s), u"get_series_info"_s},
        {QRegularExpression(u"vod_info|^raw-movie\\.json$"_s), u"get_vod_info"_s},
        {QRegularExpression(u"get_series\\.json$|^raw-shows"_s), u"get_series"_s},
        {QRegularExpression(u"-auth\\.json$|^login\\.json$|-account\\.json$|profile"_s), account},
        {QRegularExpression(u"epg|server-info"_s), unusedAction},
    };
    const QString name = QFileInfo(path).fileName();
    for (const auto &[pattern, action] : rules) {
        if (pattern.match(name).hasMatch())
            return action;
    }
    return std::nullopt;
}

// The answers of one capture of a provider for the live steps: "<provider>-auth.json" with
// "<provider>-get_live_categories.json" and so on, or "login.json" beside "get_live_categories.json".
std::optional<QString> siblingFor(const QString &path, const QString &action)
{
    const QFileInfo file(path);
    static const QRegularExpression token(
        u"^(.*?)(auth|login|get_live_categories|get_live_streams)\\.json$"_s);
    const QRegularExpressionMatch match = token.match(file.fileName());
    if (!match.hasMatch())
        return std::nullopt;
    const QStringList names = action.isEmpty() ? QStringList {u"auth"_s, u"login"_s} : QStringList {action};
    for (const QString &name : names) {
        const QString candidate = file.dir().filePath(match.captured(1) + name + u".json"_s);
        if (QFileInfo::exists(candidate))
            return candidate;
    }
    return std::nullopt;
}

PlaylistSource sourceFor(const LoopbackServer &server)
{
    return PlaylistSource(QUuid::createUuid(), u"Proveïdor"_s, u"http://127.0.0.1:%1/"_s.arg(server.port()),
        u"user"_s, u"pass"_s, PlaylistSource::Kind::xtream);
}

CatalogItem titleOf(CatalogKind kind)
{
    return CatalogItem {
        u"1"_s, kind, u"Títol"_s, u"1"_s, std::nullopt, QString(), QString(), fallbackPlot, u"mp4"_s, 0};
}

QString pathOf(const Channel &channel)
{
    return channel.url().path(QUrl::FullyEncoded);
}

// What a read gave, as the rows of `knownAnswers` state it.
QStringList summaryOf(const QList<Channel> &channels)
{
    QSet<QString> groups;
    qsizetype direct = 0;
    for (const Channel &channel : channels) {
        groups.insert(channel.group());
        direct += channel.group() == u"Directe"_s ? 1 : 0;
    }
    const auto line = [](const Channel &channel) {
        return channel.name() + u" | "_s + channel.group() + u" | "_s + pathOf(channel);
    };
    return {u"channels %1"_s.arg(channels.size()), u"groups %1"_s.arg(groups.size()),
        u"in Directe %1"_s.arg(direct), u"first "_s + line(channels.front()),
        u"last "_s + line(channels.back())};
}

QStringList summaryOf(const QList<CatalogCategory> &categories)
{
    QStringList summary {u"categories %1"_s.arg(categories.size())};
    if (!categories.isEmpty()) {
        summary.append(u"first "_s + categories.front().id + u' ' + categories.front().name);
        summary.append(u"last "_s + categories.back().id + u' ' + categories.back().name);
    }
    return summary;
}

QStringList summaryOf(const QList<CatalogItem> &items)
{
    const auto line = [](const CatalogItem &item) {
        return item.id + u' ' + item.name + u" | "_s + item.year + u" | "_s + item.fileExtension + u" | "_s
            + (item.poster ? QString::fromLatin1(item.poster->toEncoded()) : u"<none>"_s);
    };
    QStringList summary {u"items %1"_s.arg(items.size())};
    if (!items.isEmpty()) {
        summary.append(u"first "_s + line(items.front()));
        summary.append(u"last "_s + line(items.back()));
    }
    summary.append(u"without poster %1"_s.arg(
        std::count_if(items.begin(), items.end(), [](const CatalogItem &item) { return !item.poster; })));
    summary.append(u"without year %1"_s.arg(std::count_if(
        items.begin(), items.end(), [](const CatalogItem &item) { return item.year.isEmpty(); })));
    summary.append(u"added unknown %1"_s.arg(
        std::count_if(items.begin(), items.end(), [](const CatalogItem &item) { return item.added == 0; })));
    return summary;
}

QString describe(const CatalogEpisode &episode)
{
    return u"S%1 E%2 #%3 "_s.arg(episode.season).arg(episode.number).arg(episode.id) + episode.title
        + u" | "_s + episode.channel.group() + u" | "_s + pathOf(episode.channel);
}

QStringList summaryOf(const CatalogDetail &detail)
{
    QStringList summary;
    if (detail.movie) {
        summary.append(u"movie "_s + pathOf(*detail.movie));
    } else {
        summary.append(u"episodes %1"_s.arg(detail.episodes.size()));
        QStringList seasons;
        for (const qint64 season : detail.seasons())
            seasons.append(QString::number(season));
        summary.append(u"seasons "_s + seasons.join(u','));
        summary.append(u"first "_s + describe(detail.episodes.front()));
        summary.append(u"last "_s + describe(detail.episodes.back()));
    }
    summary.append(u"plot "_s + detail.plot.left(40));
    summary.append(u"cast "_s + detail.cast.left(40));
    summary.append(u"genre "_s + detail.genre);
    summary.append(u"duration "_s + detail.duration);
    summary.append(
        u"poster "_s + (detail.poster ? QString::fromLatin1(detail.poster->toEncoded()) : u"<none>"_s));
    return summary;
}

// A loopback provider answering each action from a file, or with a small answer of its own.
class Provider
{
public:
    const LoopbackServer &server() const { return m_server; }

    void serve(const QHash<QString, QByteArray> &answers)
    {
        QHash<QString, QByteArray> all {
            {account, R"({"user_info":{"auth":1,"status":"Active"}})"},
            {u"get_live_categories"_s, "[]"},
            {u"get_live_streams"_s, R"([{"stream_id":1,"name":"Prova","category_id":"1"}])"},
        };
        all.insert(answers);
        m_server.setFallback([all](const Request &request) {
            const QString action = QUrlQuery(request.query).queryItemValue(u"action"_s);
            if (request.path != u"/player_api.php"_s || !all.contains(action))
                return Response::withStatus(404, "Not Found");
            return Response::ok(all.value(action), "application/json");
        });
    }

    QStringList actionsAsked() const
    {
        QStringList actions;
        for (const Request &request : m_server.requests())
            actions.append(QUrlQuery(request.query).queryItemValue(u"action"_s));
        return actions;
    }

private:
    LoopbackServer m_server;
};

} // namespace

Q_DECLARE_METATYPE(CatalogKind)

class TestXtreamRealWorld : public QObject
{
    Q_OBJECT

private:
    // A read that succeeded fills `summary`; answers the failure text ("" when it read).
    template<typename T> static QString summarised(const Outcome<T> &outcome, QStringList &summary)
    {
        if (outcome.value)
            summary = summaryOf(*outcome.value);
        return outcome.failure;
    }

    // Reads what `action` is answered with through the repository call that asks for it.
    QString readThrough(Provider &provider, const QString &action, QStringList &summary)
    {
        const PlaylistSource source = sourceFor(provider.server());
        const CatalogKind kind = action.contains(u"series"_s) ? CatalogKind::series : CatalogKind::movies;
        if (action.isEmpty() || action.startsWith(u"get_live"_s))
            return summarised(settle(PlaylistRepository().load(source)), summary);
        if (action.endsWith(u"_categories"_s))
            return summarised(settle(CatalogRepository().categories(source, kind)), summary);
        if (!action.endsWith(u"_info"_s))
            return summarised(settle(CatalogRepository().items(source, kind, u"1"_s)), summary);
        const auto outcome = settle(CatalogRepository().detail(source, titleOf(kind)));
        if (outcome.value) {
            const bool empty = !outcome.value->movie && outcome.value->episodes.isEmpty();
            summary = empty ? QStringList {u"no episodes"_s} : summaryOf(*outcome.value);
        }
        return outcome.failure;
    }

    static const QStringList &failuresOf(const QString &action)
    {
        if (action.isEmpty() || action.startsWith(u"get_live"_s))
            return loadFailures;
        if (action.endsWith(u"_info"_s))
            return detailFailures;
        return listFailures;
    }

    // Serves `path` as the answer of `action`, beside the same capture's other live answers.
    void serveFixture(Provider &provider, const QString &path, const QString &action)
    {
        QHash<QString, QByteArray> answers {{action, Fixtures::read(path)}};
        for (const QString &other : {account, u"get_live_categories"_s, u"get_live_streams"_s}) {
            if (other == action)
                continue;
            if (const std::optional<QString> sibling = siblingFor(path, other))
                answers.insert(other, Fixtures::read(*sibling));
        }
        provider.serve(answers);
    }

private Q_SLOTS:
    void everyAnswerReadsOrFailsWithItsText_data()
    {
        QUENVO_REQUIRE_FIXTURES();
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("action");

        const QStringList files = Fixtures::files(u"xtream"_s, {u"*.json"_s});
        QVERIFY(files.size() >= 50);
        const QDir folder(xtreamFolder());
        for (const QString &file : files) {
            const std::optional<QString> action = actionOf(file);
            QVERIFY2(action, qPrintable(u"no action known for "_s + file));
            if (*action != unusedAction) {
                QTest::newRow(qPrintable(folder.relativeFilePath(file))) << file << *action;
                continue;
            }
            // Served in place of every answer the program asks for.
            for (const QString &used : {account, u"get_vod_categories"_s, u"get_series"_s, u"get_vod_info"_s,
                     u"get_series_info"_s}) {
                QTest::addRow("%s as %s", qPrintable(folder.relativeFilePath(file)),
                    used.isEmpty() ? "account" : qPrintable(used))
                    << file << used;
            }
        }
    }

    void everyAnswerReadsOrFailsWithItsText()
    {
        QFETCH(QString, path);
        QFETCH(QString, action);

        const QByteArray bytes = Fixtures::read(path);
        QVERIFY(!bytes.isEmpty());
        QJsonParseError parsing;
        QJsonDocument::fromJson(bytes, &parsing);
        const bool isJson = parsing.error == QJsonParseError::NoError;

        Provider provider;
        serveFixture(provider, path, action);
        QStringList summary;
        const QString failure = readThrough(provider, action, summary);
        if (QTest::currentTestFailed())
            return;

        if (!isJson) {
            QCOMPARE(failure, jsonError);
        } else if (!failure.isEmpty()) {
            QVERIFY2(failuresOf(action).contains(failure), qPrintable(failure));
            QVERIFY(summary.isEmpty());
        } else {
            QVERIFY(!summary.isEmpty());
        }
        QVERIFY2(provider.actionsAsked().contains(action), qPrintable(provider.actionsAsked().join(u',')));
    }

    // Counted from the files themselves: what each read must give. The live rows load a whole capture
    // (account, categories, streams) of one provider.
    void knownAnswers_data()
    {
        QUENVO_REQUIRE_FIXTURES();
        QTest::addColumn<QString>("path");
        QTest::addColumn<QStringList>("summary");

        const auto row = [](const char *path, const QStringList &summary) {
            QTest::newRow(path) << QString::fromLatin1(path) << summary;
        };
        // 288 streams with "category_id": null fall into Directe.
        row("tellytv-go.xtream-codes/hellraiser-get_live_streams.json",
            {u"channels 4950"_s, u"groups 51"_s, u"in Directe 288"_s,
                u"first UK: BBC Red Button 1 (SG) | ENTERTAINMENT & LIFESTYLE UK | /live/user/pass/112233.m3u8"_s,
                u"last XXX: (VOD) sophia steele gloryholeload | XXX - 1 | /live/user/pass/46596.m3u8"_s});
        row("tellytv-go.xtream-codes/iris-get_live_streams.json",
            {u"channels 8623"_s, u"groups 85"_s, u"in Directe 20"_s,
                u"first VIP Sky Sports News FHD | UK VIP HD/FHD | /live/user/pass/303879.m3u8"_s,
                u"last HN: Teleceiba | SPANISH REGION | /live/user/pass/302791.m3u8"_s});
        row("ektotv-xtream-api/raw-channels.json",
            {u"channels 4"_s, u"groups 1"_s, u"in Directe 4"_s,
                u"first News 24/7 | Directe | /live/user/pass/1.m3u8"_s,
                u"last Documentaries | Directe | /live/user/pass/4.m3u8"_s});
        row("ektotv-xtream-api/raw-movie-categories.json",
            {u"categories 5"_s, u"first 1 Sports"_s, u"last 5 Football"_s});
        row("ektotv-xtream-api/raw-movies.json",
            {u"items 2"_s,
                u"first 935703 Summer Adventure (2024) | 2024 | mp4 | https://example-iptv.com/images/summer-adventure.jpg"_s,
                u"last 935704 The Last Stand (2023) | 2023 | mp4 | https://example-iptv.com/images/the-last-stand.jpg"_s,
                u"without poster 0"_s, u"without year 0"_s, u"added unknown 0"_s});
        row("panelr-for-iptvboss/get_series_info.json",
            {u"episodes 204"_s, u"seasons 1,2,3,4,5,6,7,8,9"_s,
                u"first S1 E1 #1207853 24 - S01E01 - 12-00 A.M. - 1-00 A.M | Títol · T1 E1 | /series/user/pass/1207853.mp4"_s,
                u"last S9 E12 #1207935 24 - S09E12 - Day 9 - 10-00 P.M. - 11-00 A.M | Títol · T9 E12 | /series/user/pass/1207935.mp4"_s,
                u"plot Counterterrorism agent Jack Bauer fights"_s,
                u"cast Kiefer Sutherland,Mary Lynn Rajskub,Kim "_s,
                u"genre Action & Adventure / Drama / Crime"_s, u"duration "_s,
                u"poster https://image.tmdb.org/t/p/w400/iq6yrZ5LEDXf1ArCOYLq8PIUBpV.jpg"_s});
        row("panelr-for-iptvboss/get_vod_categories.json",
            {u"categories 22"_s, u"first 103 NEW RELEASES"_s, u"last 110 🔞 ADULT 🔞"_s});
        // The detail names another stream id (1167019) than the title asked for: the title's id is played.
        row("panelr-for-iptvboss/get_vod_info.json",
            {u"movie /movie/user/pass/1.mp4"_s, u"plot To save his career, a 40-year-old ad exe"_s,
                u"cast Kevin Hart,Marcello Hernández,Mason Good"_s, u"genre Comedy"_s, u"duration 01:42:00"_s,
                u"poster https://image.tmdb.org/t/p/w400/9Bu1PW2R1XayqRqnl0aDOgMcrdS.jpg"_s});
        row("tellytv-go.xtream-codes/eternal-get_series.json",
            {u"items 0"_s, u"without poster 0"_s, u"without year 0"_s, u"added unknown 0"_s});
        row("tellytv-go.xtream-codes/hellraiser-get_series.json",
            {u"items 52"_s,
                u"first 3 Criminal Minds | 2005 | mp4 | http://liquidit.info:8080/images/decs76l3VZiOtZ8BNp7KPPj2vcw_small.jpg"_s,
                u"last 68 Gomorrah | 2014 | mp4 | http://liquidit.info:8080/images/hbyns1rKCL1f9l0brzmwLHv6smL_small.jpg"_s,
                u"without poster 0"_s, u"without year 0"_s, u"added unknown 3"_s});
        row("tellytv-go.xtream-codes/iris-get_series_categories.json", {u"categories 0"_s});
        row("tellytv-go.xtream-codes/iris-get_vod_streams.json",
            {u"items 360"_s,
                u"first 303099 Madagascar: Escape 2 Africa (2008) |  | mkv | https://m.media-amazon.com/images/M/MV5BMjExMDA4NDcwMl5BMl5BanBnXkFtZTcwODAxNTQ3MQ@@._V1_UX182_CR0,0,182,268_AL_.jpg"_s,
                u"last 303171 When the Bough Breaks (2016) |  | mkv | https://m.media-amazon.com/images/M/MV5BMTc4MTk3Mzk4NV5BMl5BanBnXkFtZTgwMDgzNDUyOTE@._V1_UX182_CR0,0,182,268_AL_.jpg"_s,
                u"without poster 2"_s, u"without year 360"_s, u"added unknown 0"_s});
        row("tellytv-go.xtream-codes/tnt-get_vod_streams.json",
            {u"items 1669"_s,
                u"first 18253 100 Greatest Stand-ups Of All Time |  | mp4 | https://i.imgur.com/6Vr7kcP.jpg"_s,
                u"last 28697 ¿Que culpa tiene el nino |  | mp4 | http://thesenutz.xyz:2052/images/jx4RowEMoenVwtjyompzcR04EeN_small.jpg"_s,
                u"without poster 4"_s, u"without year 1669"_s, u"added unknown 0"_s});
    }

    void knownAnswers()
    {
        QFETCH(QString, path);
        QFETCH(QStringList, summary);

        const QString file = xtreamFolder() + u'/' + path;
        QVERIFY2(QFileInfo::exists(file), qPrintable(file));
        const std::optional<QString> action = actionOf(file);
        QVERIFY(action);
        Provider provider;
        serveFixture(provider, file, *action);
        QStringList read;
        QCOMPARE(readThrough(provider, *action, read), QString());
        QCOMPARE(read, summary);
    }
};

QTEST_GUILESS_MAIN(TestXtreamRealWorld)
#include "tst_xtream_realworld.moc"
