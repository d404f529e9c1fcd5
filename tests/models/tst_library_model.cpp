// The library model against real servers on the loopback interface: playlists scripted per test
// (names, groups, delays and failures chosen to the case) and the local IPTV provider's Xtream API,
// with a preferences file of its own and a throw-away Secret Service for the keychain.

#include "../stores/StoreTestSupport.h"
#include "HeldSecretService.h"
#include "Listed.h"
#include "LoopbackServer.h"
#include "ProviderServer.h"
#include "Texts.h"
#include "models/CatalogModel.h"
#include "models/ChannelCategoriesModel.h"
#include "models/ChannelListModel.h"
#include "models/LibraryModel.h"
#include "records/JsonFields.h"
#include "stores/CatalogFavorites.h"
#include "stores/KeychainStore.h"
#include "stores/PersonalLists.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

struct Entry
{
    QString name;
    QString group;
    QString path;
};

QByteArray playlist(const QList<Entry> &entries, const QUrl &base)
{
    QByteArray text = "#EXTM3U\n";
    for (const Entry &entry : entries) {
        text += "#EXTINF:-1 group-title=\"" + entry.group.toUtf8() + "\"," + entry.name.toUtf8() + '\n';
        text += base.resolved(QUrl(entry.path)).toEncoded() + '\n';
    }
    return text;
}

PlaylistSource m3uSource(const QString &name, const QUrl &url)
{
    return PlaylistSource(QUuid::createUuid(), name, url.toString(), QString(), QString(), PlaylistSource::Kind::m3u);
}

} // namespace

class tst_LibraryModel : public QObject
{
    Q_OBJECT

private:
    // One model on a preferences file and keychain item of its own; `restart()` builds the next run's.
    struct Run
    {
        StoreTest::Preferences preferences;
        QString service = u"test.quenvo.library."_s + QUuid::createUuid().toString(QUuid::WithoutBraces);
        std::unique_ptr<LibraryModel> model;
        std::unique_ptr<QAbstractItemModelTester> channelTester;
        std::unique_ptr<QAbstractItemModelTester> categoryTester;

        LibraryModel &start()
        {
            model.reset();
            model = std::make_unique<LibraryModel>(
                LibraryModel::Environment{&preferences.settings(), service, HTTPClient::defaultFetch()});
            channelTester = std::make_unique<QAbstractItemModelTester>(
                model->filteredChannels(), QAbstractItemModelTester::FailureReportingMode::QtTest);
            categoryTester = std::make_unique<QAbstractItemModelTester>(
                model->categories(), QAbstractItemModelTester::FailureReportingMode::QtTest);
            return *model;
        }
        // start(), and its start-up (the keychain read) over.
        LibraryModel &startedUp()
        {
            if (!QSignalSpy(&start(), &LibraryModel::startedUp).wait(10000))
                qFatal("the library model did not start up");
            return *model;
        }
        void end()
        {
            channelTester.reset();
            categoryTester.reset();
            model.reset();
        }
        LibraryModel &restart()
        {
            end();
            preferences.restart();
            return start();
        }
        void save(const QList<PlaylistSource> &sources)
        {
            QCOMPARE(StoreTest::run(KeychainStore(service).write(sources)), QString());
        }
        QList<PlaylistSource> saved() const
        {
            const auto outcome = StoreTest::run(KeychainStore(service).read());
            return outcome.value.value_or(QList<PlaylistSource>());
        }
    };

    static QStringList shownNames(LibraryModel &model)
    {
        return listed(*model.filteredChannels(), ChannelListModel::NameRole);
    }

    // Loads and waits for the outcome.
    static bool loaded(LibraryModel &model, const PlaylistSource &source, bool save = false, bool temporary = false)
    {
        model.load(source, save, temporary);
        return QTest::qWaitFor([&] { return !model.isLoading(); }, 20000)
            && model.activeID() == source.id;
    }

    LoopbackServer m_server;
    QUrl m_news;
    QUrl m_sport;
    QByteArray m_sportList; // the two sports channels

private Q_SLOTS:
    void initTestCase()
    {
        m_news = m_server.url(u"/news.m3u"_s);
        m_sport = m_server.url(u"/sport.m3u"_s);
        m_server.route(u"/news.m3u"_s,
                       LoopbackServer::Response::ok(playlist({{u"Café TV"_s, u"a10"_s, u"/live/1.ts"_s},
                                                              {u"Notícies 24"_s, u"a9"_s, u"/live/2.ts"_s},
                                                              {u"Cinema"_s, u"cafe"_s, u"/live/3.ts"_s},
                                                              {u"Música"_s, u"a9"_s, u"/live/4.ts"_s}},
                                                             m_server.url())));
        m_sportList = playlist(
            {{u"Esport 1"_s, u"Esports"_s, u"/live/1.ts"_s}, {u"Esport 2"_s, u"Esports"_s, u"/live/5.ts"_s}},
            m_server.url());
        m_server.route(u"/sport.m3u"_s, LoopbackServer::Response::ok(m_sportList));
        m_server.route(u"/missing.m3u"_s, LoopbackServer::Response::withStatus(404));
    }

    void startUpOpensTheRememberedConnectionWithoutSavingIt()
    {
        Run run;
        const PlaylistSource news = m3uSource(u"Notícies"_s, m_news);
        const PlaylistSource sport = m3uSource(u"Esports"_s, m_sport);
        run.save({news, sport});
        run.preferences.settings().setValue(u"activeSource"_s, JsonFields::canonicalUuid(sport.id));
        const QString favourite = Channel(u"Esport 2"_s, u"Esports"_s, m_server.url(u"/live/5.ts"_s), false)
                                      .favoriteID(sport.id);
        run.preferences.settings().setValue(u"favorites"_s, QStringList{favourite});

        LibraryModel &model = run.start();
        QSignalSpy started(&model, &LibraryModel::startedUp);
        QVERIFY(started.wait(10000));
        QTRY_COMPARE_WITH_TIMEOUT(model.activeID(), std::optional<QUuid>(sport.id), 10000);
        QTRY_VERIFY(!model.isLoading());
        QCOMPARE(model.sources(), (QList<PlaylistSource>{news, sport}));
        QCOMPARE(model.canSave(), true);
        QCOMPARE(shownNames(model), (QStringList {u"Esport 1"_s, u"Esport 2"_s}));
        QVERIFY(model.isFavorite(model.channels().at(1)));
        QVERIFY(!model.isFavorite(model.channels().at(0)));
        QCOMPARE(model.notice(), std::nullopt);
        // Loading at start-up saves nothing: the list stays in its order.
        QCOMPARE(run.saved(), (QList<PlaylistSource>{news, sport}));

        // Without a remembered connection the first saved one opens.
        run.preferences.settings().remove(u"activeSource"_s);
        LibraryModel &next = run.restart();
        QTRY_COMPARE_WITH_TIMEOUT(next.activeID(), std::optional<QUuid>(news.id), 10000);
    }

    // A save waits for the keychain's turn behind a removal the keychain answers late; cancelled
    // meanwhile, it writes nothing when its turn comes.
    void aSaveCancelledWhileWaitingForTheKeychainWritesNothing()
    {
        Run run;
        const PlaylistSource news = m3uSource(u"Notícies"_s, m_news);
        const PlaylistSource sport = m3uSource(u"Esports"_s, m_sport);
        run.save({news});
        LibraryModel &model = run.startedUp();
        QTRY_VERIFY_WITH_TIMEOUT(!model.isLoading(), 10000);

        HeldSecretService held;
        QVERIFY(held.held());
        model.remove(news); // its write now waits for the keychain, holding the turn
        const int requests = m_server.requestCount(u"/sport.m3u"_s);
        model.load(sport, true, false);
        // The list is downloaded and parsed; the save then queues behind the removal.
        QTRY_VERIFY_WITH_TIMEOUT(m_server.requestCount(u"/sport.m3u"_s) > requests, 10000);
        QTest::qWait(300);
        QVERIFY(model.isLoading());
        model.cancelLoad();
        QVERIFY(!model.isLoading());

        held.release();
        QTRY_VERIFY_WITH_TIMEOUT(model.sources().isEmpty(), 20000); // the removal went through
        QTest::qWait(500); // time for a wrong write to happen
        QCOMPARE(run.saved(), QList<PlaylistSource>());
        QVERIFY(model.sources().isEmpty());
    }

    // A slow load overtaken by another load, or cancelled: whatever becomes of it, nothing of it
    // shows, and the connection the user went on with (or stayed on) is the one on screen.
    void onlyTheLatestLoadApplies_data()
    {
        QTest::addColumn<int>("firstStatus");
        QTest::addColumn<bool>("cancelled"); // else another load follows
        QTest::newRow("the first answers late") << 200 << false;
        QTest::newRow("the first fails late") << 500 << false;
        QTest::newRow("cancelled") << 200 << true;
    }

    void onlyTheLatestLoadApplies()
    {
        QFETCH(int, firstStatus);
        QFETCH(bool, cancelled);
        Run run;
        LibraryModel &model = run.startedUp();
        const PlaylistSource news = m3uSource(u"Notícies"_s, m_news);
        QVERIFY(loaded(model, news, false, true));

        const QString slowPath = u"/slow-%1-%2.m3u"_s.arg(firstStatus).arg(cancelled);
        LoopbackServer::Response slow =
            firstStatus == 200 ? LoopbackServer::Response::ok(playlist({{u"Lent"_s, u"x"_s, u"/slow.ts"_s}}, m_server.url()))
                               : LoopbackServer::Response::withStatus(firstStatus);
        m_server.route(slowPath, slow.delayedBy(600ms));
        const PlaylistSource first = m3uSource(u"Lenta"_s, m_server.url(slowPath));
        const PlaylistSource second = m3uSource(u"Esports"_s, m_sport);

        QSignalSpy notices(&model, &LibraryModel::noticeChanged);
        model.load(first, false, true);
        // The first request is at the server when the user moves on.
        QTRY_VERIFY_WITH_TIMEOUT(m_server.requestCount(slowPath) == 1, 5000);
        if (cancelled) {
            model.cancelLoad();
            QVERIFY(!model.isLoading());
        } else {
            model.load(second, false, true);
            QTRY_VERIFY_WITH_TIMEOUT(!model.isLoading(), 10000);
        }
        const PlaylistSource &shown = cancelled ? news : second;
        const QStringList names = cancelled ? QStringList {u"Café TV"_s, u"Notícies 24"_s, u"Cinema"_s, u"Música"_s}
                                            : QStringList {u"Esport 1"_s, u"Esport 2"_s};
        QTest::qWait(900);
        QCOMPARE(model.activeID(), std::optional<QUuid>(shown.id));
        QCOMPARE(shownNames(model), names);
        QCOMPARE(model.notice(), std::nullopt);
        QCOMPARE(notices.count(), 0);
        QVERIFY(!model.isLoading());
        // Only the successful ones are kept for the session.
        QCOMPARE(model.temporarySources(), (cancelled ? QList {news} : QList {news, second}));
    }

    void aFailedOrAbandonedLoadKeepsThePreviousConnection()
    {
        Run run;
        LibraryModel &model = run.startedUp();
        const PlaylistSource news = m3uSource(u"Notícies"_s, m_news);
        QVERIFY(loaded(model, news, true));
        model.setSearch(u"caf"_s);

        const PlaylistSource missing = m3uSource(u"Perduda"_s, m_server.url(u"/missing.m3u"_s));
        const int before = m_server.requestCount(u"/missing.m3u"_s);
        model.load(missing, true, false);
        QTRY_VERIFY_WITH_TIMEOUT(!model.isLoading(), 10000);
        QCOMPARE(model.notice(), std::optional<QString>(Texts::httpError(404)));
        QCOMPARE(model.activeID(), std::optional<QUuid>(news.id));
        QCOMPARE(model.search(), u"caf"_s);
        QCOMPARE(shownNames(model), QStringList {u"Café TV"_s});
        QCOMPARE(model.sources(), QList<PlaylistSource>{news});
        QCOMPARE(run.saved(), QList<PlaylistSource>{news});

        // `retry` repeats the failed request, with its flags; `refreshCurrentView` in live TV too.
        model.retry();
        QVERIFY(model.isLoading());
        QCOMPARE(model.notice(), std::nullopt);
        QTRY_VERIFY_WITH_TIMEOUT(!model.isLoading(), 10000);
        model.refreshCurrentView();
        QTRY_VERIFY_WITH_TIMEOUT(!model.isLoading(), 10000);
        QCOMPARE(m_server.requestCount(u"/missing.m3u"_s), before + 3);
        QVERIFY(model.notice().has_value());
        QCOMPARE(model.sources(), QList<PlaylistSource>{news});

        // The model going away while a list to save is on its way: nothing more is saved.
        m_server.route(u"/slow-gone.m3u"_s, LoopbackServer::Response::ok(m_sportList).delayedBy(300ms));
        model.load(m3uSource(u"Lenta"_s, m_server.url(u"/slow-gone.m3u"_s)), true, false);
        run.end();
        QTest::qWait(500);
        QCOMPARE(run.saved(), QList<PlaylistSource> {news});
    }

    void removingTheActiveConnectionLoadsTheFirstRemaining()
    {
        Run run;
        LibraryModel &model = run.startedUp();
        const PlaylistSource news = m3uSource(u"Notícies"_s, m_news);
        const PlaylistSource sport = m3uSource(u"Esports"_s, m_sport);
        const PlaylistSource session = m3uSource(u"Sessió"_s, m_news);
        QVERIFY(loaded(model, session, false, true));
        QVERIFY(loaded(model, news, true));
        QVERIFY(loaded(model, sport, true));
        QCOMPARE(model.allSources(), (QList<PlaylistSource>{news, sport, session}));

        // The same channel favourited under two connections.
        const Channel shared = model.channels().at(0); // Esport 1 = /live/1.ts, also Café TV's address
        model.toggleFavorite(shared);
        QVERIFY(loaded(model, news));
        const Channel cafe = model.channels().at(0);
        QCOMPARE(cafe.id(), shared.id());
        model.toggleFavorite(cafe);
        QCOMPARE(model.favorites().size(), 2);
        QVERIFY(loaded(model, sport));
        // And the same title a catalogue favourite of both.
        CatalogItem title;
        title.id = u"7"_s;
        title.kind = CatalogKind::movies;
        title.name = u"Pel·lícula"_s;
        model.catalogFavorites()->toggle(sport.id, title);
        model.catalogFavorites()->toggle(news.id, title);

        model.remove(sport);
        QTRY_VERIFY_WITH_TIMEOUT(model.sources() == QList<PlaylistSource>{news}, 10000);
        QTRY_COMPARE_WITH_TIMEOUT(model.activeID(), std::optional<QUuid>(news.id), 10000);
        QTRY_VERIFY(!model.isLoading());
        QCOMPARE(run.saved(), QList<PlaylistSource>{news});
        QCOMPARE(model.favorites(), QSet<QString>{cafe.favoriteID(news.id)});
        QCOMPARE(run.preferences.settings().value(u"favorites"_s).toStringList(),
            QStringList {cafe.favoriteID(news.id)});
        QVERIFY(!model.catalogFavorites()->contains(sport.id, title));
        QVERIFY(model.catalogFavorites()->contains(news.id, title));
        QCOMPARE(run.preferences.settings().value(u"activeSource"_s).toString(), JsonFields::canonicalUuid(news.id));

        // Removing a connection that is not active changes nothing else.
        model.remove(session);
        QTRY_VERIFY_WITH_TIMEOUT(model.temporarySources().isEmpty(), 10000);
        QCOMPARE(model.activeID(), std::optional<QUuid>(news.id));

        // The last one: nothing is left to load.
        model.remove(news);
        QTRY_VERIFY_WITH_TIMEOUT(!model.activeID().has_value(), 10000);
        QCOMPARE(model.channelCount(), 0);
        QVERIFY(!model.isLoading());
        QVERIFY(!run.preferences.settings().contains(u"activeSource"_s));
        QCOMPARE(run.saved(), QList<PlaylistSource>());
    }

    void favouritesAndSectionsOfAConnection()
    {
        Run run;
        LibraryModel &model = run.startedUp();
        const Channel stray(u"Cap"_s, QString(), m_server.url(u"/live/1.ts"_s), false);
        model.toggleFavorite(stray); // no active connection: ignored
        QCOMPARE(model.favorites(), QSet<QString>());

        const PlaylistSource first = m3uSource(u"Primera"_s, m_news);
        const PlaylistSource second = m3uSource(u"Segona"_s, m_news);
        QVERIFY(loaded(model, first, false, true));
        const Channel cafe = model.channels().at(0);
        // Marking a favourite, or choosing the live section again, leaves the channel playing.
        model.playAt(0);
        QCOMPARE(model.currentChannel(), std::optional<Channel>(cafe));
        const MediaPlayer *player = model.player();
        model.toggleFavoriteAt(0);
        QVERIFY(model.isFavoriteAt(0));
        QCOMPARE(model.player(), player);
        model.selectSection(LibraryModel::Section::live);
        QCOMPARE(model.currentChannel(), std::optional<Channel>(cafe));
        model.showFavorites();
        QCOMPARE(shownNames(model), QStringList {u"Café TV"_s});
        model.setSearch(u"x"_s);
        model.setCategory(u"a10"_s);

        // Another connection: favourites view, search and category start afresh.
        model.selectSource(second);
        QVERIFY(!model.favoritesOnly());
        QTRY_COMPARE_WITH_TIMEOUT(model.activeID(), std::optional<QUuid>(second.id), 10000);
        QCOMPARE(model.search(), QString());
        QCOMPARE(model.category(), std::nullopt);
        QCOMPARE(model.filteredChannels()->count(), 4);
        QVERIFY(!model.isFavorite(cafe));
        model.showFavorites();
        QCOMPARE(model.filteredChannels()->count(), 0);

        // Twice restores the set and the stored list.
        model.toggleFavorite(cafe);
        model.toggleFavorite(cafe);
        QCOMPARE(model.favorites(), QSet<QString>{cafe.favoriteID(first.id)});
        QCOMPARE(run.preferences.settings().value(u"favorites"_s).toStringList(),
            QStringList {cafe.favoriteID(first.id)});

        // Another section stops the channel.
        model.play(cafe, false);
        model.selectSection(u"series"_s);
        QCOMPARE(model.section(), LibraryModel::Section::series);
        QCOMPARE(model.currentChannel(), std::nullopt);
        // An M3U connection has no catalogue: nothing is fetched and nothing is reported.
        QVERIFY(!model.catalog()->property("loading").toBool());
        QCOMPARE(model.catalog()->property("error").toString(), QString());
        model.selectSection(u"nonsense"_s);
        QCOMPARE(model.section(), LibraryModel::Section::series);

        // A channel that needs its own HTTP headers is refused with a message.
        const Channel withHeaders(u"Capçaleres"_s, QString(), m_server.url(u"/h.ts"_s), true);
        model.play(withHeaders, false);
        QCOMPARE(model.currentChannel(), std::optional<Channel>(withHeaders));
        QCOMPARE(model.playbackError(),
                 std::optional<QString>(u"Aquest canal exigeix capçaleres HTTP personalitzades. Aquesta primera "
                                        u"versió del reproductor natiu encara no les admet."_s));
        QVERIFY(!model.waiting());
        model.stop();
        QCOMPARE(model.playbackError(), std::nullopt);
        QCOMPARE(model.currentChannel(), std::nullopt);
    }

    void personalEntriesOpenTheirConnectionFirst()
    {
        Run run;
        LibraryModel &model = run.startedUp();
        const PlaylistSource news = m3uSource(u"Notícies"_s, m_news);
        m_server.route(u"/sport-slow.m3u"_s, LoopbackServer::Response::ok(m_sportList).delayedBy(300ms));
        const PlaylistSource sport = m3uSource(u"Esports"_s, m_server.url(u"/sport-slow.m3u"_s));
        QVERIFY(loaded(model, sport, false, true));
        const Channel second = model.channels().at(1);
        QVERIFY(loaded(model, news, false, true));

        const QUuid list = model.personalLists()->create(u"Vespre"_s);
        model.openPersonalList(list);
        const PersonalEntry entry(sport.id, second);
        model.openPersonalEntry(entry);
        QVERIFY(model.isLoading());
        QTRY_COMPARE_WITH_TIMEOUT(model.currentChannel(), std::optional<Channel>(second), 10000);
        QCOMPARE(model.activeID(), std::optional<QUuid>(sport.id));
        QCOMPARE(model.section(), LibraryModel::Section::live);
        QCOMPARE(model.selectedPersonalListID(), std::nullopt);
        QCOMPARE(model.personalReturnID(), std::optional<QUuid>(list));

        // Navigating elsewhere while the connection loads abandons the entry.
        model.openPersonalList(list);
        QVERIFY(loaded(model, news));
        model.openPersonalEntry(entry);
        model.selectSection(LibraryModel::Section::movies);
        QTRY_COMPARE_WITH_TIMEOUT(model.activeID(), std::optional<QUuid>(sport.id), 10000);
        QTest::qWait(50);
        QCOMPARE(model.currentChannel(), std::nullopt);
        QCOMPARE(model.section(), LibraryModel::Section::movies);
        QCOMPARE(model.personalReturnID(), std::nullopt);

        // Gone from the connection; a connection that is gone.
        const PersonalEntry retired(sport.id, PersonalContentKind::live, QString(64, u'0'), u"Retirat"_s, QString(),
                                    QString(), QString(), QString());
        model.openPersonalList(list);
        model.openPersonalEntry(retired);
        QCOMPARE(model.notice(), std::optional<QString>(u"Aquest canal ja no apareix a la connexió original. Pot haver "
                                                        u"canviat d’adreça o haver estat retirat."_s));
        QCOMPARE(model.selectedPersonalListID(), std::optional<QUuid>(list));
        const PersonalEntry orphan(QUuid::createUuid(), second);
        model.openPersonalEntry(orphan);
        QCOMPARE(model.notice(),
                 std::optional<QString>(u"La connexió original d’aquest contingut ja no està disponible. La llista "
                                        u"personal no desa els vídeos ni les credencials."_s));
        model.openPersonalCategory(PersonalCategory(sport.id, PersonalContentKind::live, u"1"_s, u"Esports"_s));
        QCOMPARE(model.notice(), std::optional<QString>(u"La connexió original d’aquesta agrupació ja no està disponible."_s));

        // Refreshing a personal list asks its views to reload.
        const QUuid refresh = model.personalLists()->refreshID();
        model.refreshCurrentView();
        QVERIFY(model.personalLists()->refreshID() != refresh);
    }

    void xtreamAccountsOpenTheirCatalogue()
    {
        ProviderOptions options;
        options.liveChannels = 40;
        options.movies = 30;
        options.series = 8;
        options.categories = 3;
        options.generateMedia = false;
        ProviderServer provider(options);
        QVERIFY2(provider.start(), qPrintable(provider.errorString()));
        Run run;
        LibraryModel &model = run.startedUp();
        const PlaylistSource account(QUuid::createUuid(), u"Demo"_s, provider.baseURL().toString(),
                                     ProviderCatalog::demoUsername(), ProviderCatalog::demoPassword(),
                                     PlaylistSource::Kind::xtream);

        // Loading while the movies section shows opens the new connection's catalogue.
        model.selectSection(LibraryModel::Section::movies);
        QVERIFY(loaded(model, account, true));
        QVERIFY(model.channelCount() >= 40);
        QTRY_VERIFY_WITH_TIMEOUT(!model.catalog()->property("loading").toBool(), 10000);
        QCOMPARE(model.catalog()->property("kind").toString(), u"movies"_s);
        QTRY_VERIFY_WITH_TIMEOUT(model.catalog()->categories().size() == 3, 10000);

        // A favourite title opens in its section with its category.
        const long long before = provider.requestCount();
        model.selectSection(LibraryModel::Section::series);
        QTRY_VERIFY_WITH_TIMEOUT(model.catalog()->categories().size() == 3, 10000);
        QVERIFY(provider.requestCount() > before);
        QTRY_VERIFY_WITH_TIMEOUT(!model.catalog()->items().isEmpty(), 10000);
        const CatalogItem title = model.catalog()->items().constFirst();
        const CatalogCategory category = model.catalog()->categories().constLast();
        model.selectSection(LibraryModel::Section::live);
        model.openFavorite(title);
        QCOMPARE(model.section(), LibraryModel::Section::series);
        QTRY_VERIFY_WITH_TIMEOUT(model.catalog()->selectedItem() == std::optional<CatalogItem>(title), 10000);

        // Refreshing the catalogue refetches its categories.
        const long long beforeRefresh = provider.requestCount();
        model.refreshCurrentView();
        QTRY_VERIFY_WITH_TIMEOUT(provider.requestCount() > beforeRefresh, 10000);

        // A linked group of another kind opens in the catalogue, in its section.
        model.openPersonalCategory(PersonalCategory(account.id, PersonalContentKind::series, category.id, category.name));
        QTRY_VERIFY_WITH_TIMEOUT(model.catalog()->selectedCategory() == std::optional<CatalogCategory>(category), 10000);
        QCOMPARE(model.section(), LibraryModel::Section::series);
    }

    void theEditorValidatesThenLoads()
    {
        Run run;
        LibraryModel &model = run.startedUp();
        model.addSource();
        QVERIFY(model.editingSource().has_value());
        QCOMPARE(model.editingSource()->kind, PlaylistSource::Kind::m3u);
        QCOMPARE(model.editingSource()->name, QString());
        const QUuid id = model.editingSource()->id;

        // Refused: the message, nothing loads, the editor stays open.
        QCOMPARE(model.connectEditedSource(u"xtream"_s, u"Servidor"_s,
                     u"http://127.0.0.1:8080/player_api.php"_s, u"u"_s, u"u"_s, false),
            u"Introdueix l’adreça base del servidor, sense player_api.php, get.php ni paràmetres."_s);
        QVERIFY(!model.isLoading());
        QVERIFY(model.editingSource().has_value());

        // Accepted with blanks around, not to be saved: kept for the session under the trimmed name; the
        // editor closes.
        QCOMPARE(model.connectEditedSource(u"m3u"_s, u"  Notícies \n"_s, u" "_s + m_news.toString() + u"\n"_s,
                     QString(), QString(), false),
            QString());
        QTRY_VERIFY_WITH_TIMEOUT(!model.isLoading(), 10000);
        QCOMPARE(model.editingSource(), std::nullopt);
        QCOMPARE(model.temporarySources().size(), 1);
        QCOMPARE(model.temporarySources().at(0).id, id);
        QCOMPARE(model.temporarySources().at(0).name, u"Notícies"_s);
        QCOMPARE(model.temporarySources().at(0).address, m_news.toString());
        QCOMPARE(model.sources(), QList<PlaylistSource>());
        QCOMPARE(run.saved(), QList<PlaylistSource>());

        // Editing it and saving moves it to the keychain.
        model.editSource(JsonFields::canonicalUuid(id));
        QCOMPARE(model.editingSource()->id, id);
        QCOMPARE(model.connectEditedSource(u"m3u"_s, u"Notícies"_s, m_news.toString(), QString(), QString(), true),
                 QString());
        QTRY_VERIFY_WITH_TIMEOUT(!model.isLoading(), 10000);
        QCOMPARE(run.saved().size(), 1);
        QVERIFY(model.temporarySources().isEmpty());
    }
};

QTEST_GUILESS_MAIN(tst_LibraryModel)
#include "tst_library_model.moc"
