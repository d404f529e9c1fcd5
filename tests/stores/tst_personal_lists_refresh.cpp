// Refreshing a personal list against a provider on the loopback interface: the members of linked
// live groups, catalogue groups renamed or gone at the provider, the failure texts and their order,
// one request per connection and kind, and edits or cancellation while a download is in flight.

#include "LoopbackServer.h"
#include "StoreTestSupport.h"
#include "stores/PersonalLists.h"

#include <QScopeGuard>
#include <QSemaphore>
#include <QSignalSpy>
#include <QTest>
#include <QUrlQuery>

#include <memory>

using namespace Qt::StringLiterals;
using Response = LoopbackServer::Response;
using Request = LoopbackServer::Request;

namespace {
const QByteArray playlist = R"(#EXTM3U
#EXTINF:-1 group-title="Esports",Esport 1
http://127.0.0.1:9/live/1.ts
#EXTINF:-1 group-title="Notícies",Notícies 24
http://127.0.0.1:9/live/2.ts
#EXTINF:-1 group-title="Esports",Esport 2
http://127.0.0.1:9/live/3.ts
#EXTINF:-1 group-title="esports",Minúscules
http://127.0.0.1:9/live/4.ts
)";
const QByteArray account
    = R"({"user_info":{"auth":1,"status":"Active","allowed_output_formats":["m3u8","ts"]}})";
const QByteArray liveCategories = R"([{"category_id":"1","category_name":"Cinema en directe"}])";
const QByteArray liveStreams = R"([{"stream_id":21,"name":"Cine 1","category_id":"1"}])";
const QByteArray movieGroups
    = R"([{"category_id":"5","category_name":"Acció"},{"category_id":"6","category_name":"Comèdia"}])";
const QByteArray seriesGroups = R"([{"category_id":"7","category_name":"Drama"}])";

const QUuid listID = QUuid::fromString(u"9a8b7c6d-0000-4000-8000-000000000001"_s);

// Serves an M3U playlist at /a.m3u and an Xtream account under /b. A gate, when set for a request's
// path or action, holds that answer until the test opens it.
struct Provider
{
    LoopbackServer server;
    std::shared_ptr<QSemaphore> gate = std::make_shared<QSemaphore>();
    std::shared_ptr<QString> gated = std::make_shared<QString>(); // path or action held at the gate

    Provider()
    {
        server.setFallback([gate = gate, gated = gated](const Request &request) {
            const QString action = QUrlQuery(request.query).queryItemValue(u"action"_s);
            if (!gated->isEmpty() && (*gated == request.path || *gated == action))
                gate->acquire();
            if (request.path == u"/a.m3u"_s)
                return Response::ok(playlist, "audio/x-mpegurl");
            if (request.path != u"/b/player_api.php"_s)
                return Response::withStatus(404, "Not Found");
            const QHash<QString, QByteArray> answers {{QString(), account},
                {u"get_live_categories"_s, liveCategories}, {u"get_live_streams"_s, liveStreams},
                {u"get_vod_categories"_s, movieGroups}, {u"get_series_categories"_s, seriesGroups}};
            if (!answers.contains(action))
                return Response::withStatus(404, "Not Found");
            return Response::ok(answers.value(action), "application/json");
        });
    }

    PlaylistSource m3u() const
    {
        return PlaylistSource(QUuid::fromString(u"0b0e1c2d-0000-4000-8000-00000000000a"_s), u"Llista"_s,
            server.url(u"/a.m3u"_s).toString(), QString(), QString(), PlaylistSource::Kind::m3u);
    }

    PlaylistSource xtream() const
    {
        return PlaylistSource(QUuid::fromString(u"0b0e1c2d-0000-4000-8000-00000000000b"_s), u"Proveïdor"_s,
            server.url(u"/b"_s).toString(), u"usuari"_s, u"secret"_s, PlaylistSource::Kind::xtream);
    }

    // How many requests asked for a path (and, for the Xtream account, an action; "" is the account check).
    int requests(const QString &path, const std::optional<QString> &action = std::nullopt) const
    {
        int count = 0;
        for (const Request &request : server.requests()) {
            if (request.path == path
                && (!action || QUrlQuery(request.query).queryItemValue(u"action"_s) == *action))
                ++count;
        }
        return count;
    }
};

// Stores one list with the given linked groups, as an earlier run would have left it.
void storeList(QSettings &settings, const QList<PersonalCategory> &categories)
{
    PersonalList list(listID, u"La meva llista"_s);
    for (const PersonalCategory &category : categories)
        list.link(category);
    settings.setValue(PersonalLists::storageKey(), PersonalLists::encode({list}));
}

QStringList describe(const QList<PersonalEntry> &entries)
{
    QStringList described;
    for (const PersonalEntry &entry : entries)
        described.append(entry.name() + u" | "_s + entry.id());
    return described;
}

QStringList expectedMembers(const PlaylistSource &source, const QList<std::pair<QString, QString>> &channels)
{
    QStringList described;
    for (const auto &[name, url] : channels) {
        const PersonalEntry entry(source.id, Channel(name, QString(), QUrl(url), false));
        described.append(name + u" | "_s + entry.id());
    }
    return described;
}
} // namespace

class TestPersonalListsRefresh : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void liveGroupMembersAppear()
    {
        Provider provider;
        const PlaylistSource source = provider.m3u();
        const PersonalCategory sports(source.id, PersonalContentKind::live, u"Esports"_s, u"Esports"_s);
        const PersonalCategory empty(source.id, PersonalContentKind::live, u"Sense canals"_s, u"Buit"_s);
        StoreTest::Preferences preferences;
        storeList(preferences.settings(), {sports, empty});
        PersonalLists lists(preferences.settings());
        QSignalSpy changed(&lists, &PersonalLists::categoryEntriesChanged);

        const auto outcome = StoreTest::run(lists.refresh(listID, {source}));
        QCOMPARE(outcome.failure, QString());
        QCOMPARE(*outcome.value, QStringList());
        QCOMPARE(describe(lists.categoryEntries().value(sports.id())),
            expectedMembers(source,
                {{u"Esport 1"_s, u"http://127.0.0.1:9/live/1.ts"_s},
                    {u"Esport 2"_s, u"http://127.0.0.1:9/live/3.ts"_s}}));
        QVERIFY(lists.categoryEntries().contains(empty.id()));
        QVERIFY(lists.categoryEntries().value(empty.id()).isEmpty());
        QCOMPARE(changed.count(), 2);
        QCOMPARE(provider.requests(u"/a.m3u"_s), 1);
        // A list that is not there needs no request.
        QCOMPARE(*StoreTest::run(lists.refresh(QUuid::createUuid(), {source})).value, QStringList());
        QCOMPARE(provider.server.requestCount(), 1);

        // Nothing of this is stored.
        preferences.restart();
        PersonalLists again(preferences.settings());
        QVERIFY(again.categoryEntries().isEmpty());
        QVERIFY(again.entries(listID).isEmpty());
    }

    void failureTextsFollowTheListOrder()
    {
        Provider provider;
        const PlaylistSource playlistSource = provider.m3u();
        const PlaylistSource xtreamSource = provider.xtream();
        const PlaylistSource broken(QUuid::createUuid(), u"Trencada"_s,
            provider.server.url(u"/missing.m3u"_s).toString(), QString(), QString(),
            PlaylistSource::Kind::m3u);
        const QUuid deleted = QUuid::createUuid();
        StoreTest::Preferences preferences;
        storeList(preferences.settings(),
            {PersonalCategory(deleted, PersonalContentKind::live, u"Esports"_s, u"Esports d’abans"_s),
                PersonalCategory(xtreamSource.id, PersonalContentKind::movies, u"42"_s, u"Western"_s),
                PersonalCategory(broken.id, PersonalContentKind::live, u"Esports"_s, u"Sense llista"_s),
                PersonalCategory(playlistSource.id, PersonalContentKind::movies, u"5"_s, u"Pel·lis M3U"_s),
                PersonalCategory(deleted, PersonalContentKind::series, u"7"_s, u"Sèries d’abans"_s),
                PersonalCategory(
                    xtreamSource.id, PersonalContentKind::live, u"Cinema en directe"_s, u"Cinema"_s)});
        PersonalLists lists(preferences.settings());

        const auto outcome = StoreTest::run(lists.refresh(listID, {playlistSource, xtreamSource, broken}));
        QCOMPARE(outcome.failure, QString());
        QCOMPARE(*outcome.value,
            QStringList({u"Esports d’abans: connexió no disponible."_s,
                u"Western: el proveïdor ja no ofereix aquesta agrupació."_s,
                u"Sense llista: El servidor ha respost amb l’error HTTP 404."_s,
                u"Pel·lis M3U: El catàleg de pel·lícules i sèries requereix una connexió Xtream Codes."_s,
                u"Sèries d’abans: connexió no disponible."_s}));
        // The failures did not stop the last group.
        const PersonalCategory cinema(
            xtreamSource.id, PersonalContentKind::live, u"Cinema en directe"_s, u"Cinema"_s);
        QCOMPARE(lists.categoryEntries().value(cinema.id()).size(), 1);
        QCOMPARE(lists.categoryEntries().value(cinema.id()).first().name(), u"Cine 1"_s);
    }

    void oneRequestPerConnectionAndKind()
    {
        Provider provider;
        const PlaylistSource a = provider.m3u();
        const PlaylistSource b = provider.xtream();
        StoreTest::Preferences preferences;
        // Two catalogue groups under the names they had when they were linked.
        QList<PersonalCategory> categories {
            PersonalCategory(b.id, PersonalContentKind::movies, u"5"_s, u"Categoria de pel·lícules · 5"_s),
            PersonalCategory(a.id, PersonalContentKind::live, u"Esports"_s, u"Esports"_s),
            PersonalCategory(b.id, PersonalContentKind::live, u"Cinema en directe"_s, u"Cinema"_s),
            PersonalCategory(b.id, PersonalContentKind::movies, u"6"_s, u"Comèdia"_s),
            PersonalCategory(a.id, PersonalContentKind::live, u"Notícies"_s, u"Notícies"_s),
            PersonalCategory(b.id, PersonalContentKind::series, u"7"_s, u"Categoria de sèries · 7"_s),
            PersonalCategory(b.id, PersonalContentKind::movies, u"9"_s, u"Clàssics"_s)};
        storeList(preferences.settings(), categories);
        PersonalLists lists(preferences.settings());

        const auto outcome = StoreTest::run(lists.refresh(listID, {a, b}));
        QCOMPARE(*outcome.value, QStringList({u"Clàssics: el proveïdor ja no ofereix aquesta agrupació."_s}));
        QCOMPARE(provider.requests(u"/a.m3u"_s), 1);
        QCOMPARE(provider.requests(u"/b/player_api.php"_s, QString()), 1);
        QCOMPARE(provider.requests(u"/b/player_api.php"_s, u"get_live_categories"_s), 1);
        QCOMPARE(provider.requests(u"/b/player_api.php"_s, u"get_live_streams"_s), 1);
        QCOMPARE(provider.requests(u"/b/player_api.php"_s, u"get_vod_categories"_s), 1);
        QCOMPARE(provider.requests(u"/b/player_api.php"_s, u"get_series_categories"_s), 1);
        QCOMPARE(provider.server.requestCount(), 6);
        QCOMPARE(lists.categoryEntries().size(), 3);
        // The catalogue groups take the provider's names, and keep them.
        categories[0] = PersonalCategory(b.id, PersonalContentKind::movies, u"5"_s, u"Acció"_s);
        categories[5] = PersonalCategory(b.id, PersonalContentKind::series, u"7"_s, u"Drama"_s);
        QCOMPARE(lists.list(listID)->categories(), categories);
        lists.waitForSave();
        QCOMPARE(PersonalLists::decode(preferences.settings().value(PersonalLists::storageKey()).toByteArray())
                     .first()
                     .categories(),
            categories);

        // A second refresh starts with empty caches of its own.
        StoreTest::run(lists.refresh(listID, {a, b}));
        QCOMPARE(provider.server.requestCount(), 12);
    }

    // While the playlist is still downloading, a linked group is deleted, and later the store itself
    // goes (the application quits).
    void changesWhileARefreshIsInFlight()
    {
        Provider provider;
        *provider.gated = u"/a.m3u"_s;
        const auto open = qScopeGuard([&] { provider.gate->release(100); });
        const PlaylistSource source = provider.m3u();
        const PersonalCategory sports(source.id, PersonalContentKind::live, u"Esports"_s, u"Esports"_s);
        const PersonalCategory news(source.id, PersonalContentKind::live, u"Notícies"_s, u"Notícies"_s);
        StoreTest::Preferences preferences;
        storeList(preferences.settings(), {sports, news});
        auto lists = std::make_unique<PersonalLists>(preferences.settings());

        QCoro::Task<QStringList> refresh = lists->refresh(listID, {source});
        QTRY_COMPARE(provider.requests(u"/a.m3u"_s), 1);
        lists->unlink(sports, listID);
        provider.gate->release();
        QCOMPARE(*StoreTest::run(std::move(refresh)).value, QStringList());
        QVERIFY(!lists->categoryEntries().contains(sports.id()));
        QCOMPARE(lists->categoryEntries().value(news.id()).size(), 1);
        QVERIFY(lists->entries(listID).size() == 1);

        refresh = lists->refresh(listID, {source});
        QTRY_COMPARE(provider.requests(u"/a.m3u"_s), 2);
        lists.reset();
        provider.gate->release();
        const auto outcome = StoreTest::run(std::move(refresh));
        QCOMPARE(outcome.failure, QString());
        QCOMPARE(*outcome.value, QStringList());
    }

    void cancellingStopsWithoutFurtherChanges()
    {
        Provider provider;
        *provider.gated = u"get_vod_categories"_s;
        const auto open = qScopeGuard([&] { provider.gate->release(100); });
        const PlaylistSource a = provider.m3u();
        const PlaylistSource b = provider.xtream();
        const PersonalCategory sports(a.id, PersonalContentKind::live, u"Esports"_s, u"Esports"_s);
        const PersonalCategory action(
            b.id, PersonalContentKind::movies, u"5"_s, u"Categoria de pel·lícules · 5"_s);
        const PersonalCategory drama(b.id, PersonalContentKind::series, u"7"_s, u"Categoria de sèries · 7"_s);
        StoreTest::Preferences preferences;
        storeList(preferences.settings(),
            {PersonalCategory(QUuid::createUuid(), PersonalContentKind::live, u"x"_s, u"Perduda"_s), sports,
                action, drama});
        PersonalLists lists(preferences.settings());
        const QList<PersonalList> before = lists.lists();

        const CancellationToken cancellation = CancellationToken::create();
        QCoro::Task<QStringList> refresh = lists.refresh(listID, {a, b}, cancellation);
        QTRY_COMPARE(provider.requests(u"/b/player_api.php"_s, u"get_vod_categories"_s), 1);
        cancellation.cancel();

        const auto outcome = StoreTest::run(std::move(refresh));
        QCOMPARE(*outcome.value, QStringList({u"Perduda: connexió no disponible."_s}));
        QCOMPARE(lists.lists(), before); // the movie group was not renamed
        QCOMPARE(lists.categoryEntries().keys(), QStringList({sports.id()}));
        QCOMPARE(provider.requests(u"/b/player_api.php"_s, u"get_series_categories"_s), 0);
    }
};

QTEST_GUILESS_MAIN(TestPersonalListsRefresh)
#include "tst_personal_lists_refresh.moc"
