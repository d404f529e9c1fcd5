// The catalogue model against the local provider over loopback: what it fetches and what it takes from
// its caches (every request is counted through the repository's transport), which answers it drops
// once the user has moved on (answers are held back at the transport and released late), the category
// it selects, the season a series opens on, the errors it shows, and the filtered and sorted lists.

#include "Listed.h"
#include "LoopbackServer.h"
#include "ProviderServer.h"
#include "StoreTestSupport.h"
#include "Texts.h"
#include "http/HTTPClient.h"
#include "models/CatalogCategoryListModel.h"
#include "models/CatalogEpisodeListModel.h"
#include "models/CatalogItemListModel.h"
#include "models/CatalogModel.h"
#include "records/WatchProgress.h"
#include "stores/WatchHistory.h"

#include <QAbstractItemModelTester>
#include <QCoroSignal>
#include <QCoroTask>
#include <QSignalSpy>
#include <QTest>
#include <QThreadPool>
#include <QUrlQuery>

#include <atomic>
#include <memory>
#include <optional>

using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(CatalogKind)
Q_DECLARE_METATYPE(CatalogItem)
Q_DECLARE_METATYPE(LoopbackServer::Response)

namespace {

// Lets an answer that has arrived at the transport travel through the repository's background parsing
// and back to the model.
void drain()
{
    for (int round = 0; round < 5; ++round) {
        QThreadPool::globalInstance()->waitForDone();
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
    }
}

// The repository's transport as the tests see it: every request is recorded as "action:id" (the
// category, movie or series id; nothing after the colon for the category lists), and a request can
// be held back until the test releases it. A held request is answered even if the model cancelled
// it meanwhile, so that its answer arrives late and must be dropped as stale.
class Transport : public QObject
{
    Q_OBJECT

public:
    HTTPClient::Fetch fetch()
    {
        return [this](QNetworkRequest request, CancellationToken cancellation) {
            return run(std::move(request), std::move(cancellation));
        };
    }

    static QString describe(const QUrl &url)
    {
        const QUrlQuery query(url);
        const QString action = query.queryItemValue(u"action"_s);
        for (const QString &parameter : {u"category_id"_s, u"vod_id"_s, u"series_id"_s}) {
            if (query.hasQueryItem(parameter))
                return action + u':' + query.queryItemValue(parameter);
        }
        return action + u':';
    }

    int count(const QString &request) const { return int(requests.count(request)); }
    void hold(const QString &request) { held.append(request); }
    void release(const QString &request) { Q_EMIT released(request); }

    // Releases a held request; true once its late answer has come back through to the model.
    bool answerLate(const QString &request)
    {
        const int before = answered;
        release(request);
        const bool arrived = QTest::qWaitFor([&] { return answered > before; });
        drain();
        return arrived;
    }

    QStringList requests;
    QStringList held;
    int answered = 0; // fetches that have completed, successfully or not

Q_SIGNALS:
    void released(const QString &request);

private:
    QCoro::Task<HTTPPayload> run(QNetworkRequest request, CancellationToken cancellation)
    {
        const QString what = describe(request.url());
        requests.append(what);
        if (held.removeOne(what)) {
            while (co_await qCoro(this, &Transport::released) != what) { }
            cancellation = CancellationToken();
        }
        try {
            HTTPPayload payload = co_await HTTPClient::fetch(std::move(request), std::move(cancellation));
            ++answered;
            co_return payload;
        } catch (...) {
            ++answered;
            throw;
        }
    }
};

// A model with its own watch history (in a preferences file of its own) and transport; every list
// model it exposes runs under QAbstractItemModelTester.
struct Fixture
{
    // Connected to `source` from the start, when there is one.
    explicit Fixture(const std::optional<PlaylistSource> &source = std::nullopt)
    {
        if (source)
            model.reset(source);
    }

    StoreTest::Preferences preferences;
    WatchHistory history {preferences.settings()};
    Transport transport;
    CatalogModel model {history, transport.fetch()};
    QAbstractItemModelTester categoriesTester {
        model.filteredCategories(), QAbstractItemModelTester::FailureReportingMode::QtTest};
    QAbstractItemModelTester itemsTester {
        model.filteredItems(), QAbstractItemModelTester::FailureReportingMode::QtTest};
    QAbstractItemModelTester episodesTester {
        model.episodes(), QAbstractItemModelTester::FailureReportingMode::QtTest};
};

PlaylistSource xtream(const QString &address, const QString &username = ProviderCatalog::demoUsername(),
    const QString &password = ProviderCatalog::demoPassword())
{
    return PlaylistSource(
        QUuid::createUuid(), u"Proveïdor"_s, address, username, password, PlaylistSource::Kind::xtream);
}

// An account on a scripted loopback server, which takes any credentials.
PlaylistSource xtream(const LoopbackServer &server)
{
    return xtream(u"http://127.0.0.1:%1"_s.arg(server.port()), u"user"_s, u"pass"_s);
}

// Lists only: these tests never play anything.
ProviderOptions providerOptions()
{
    ProviderOptions options;
    options.liveChannels = 10;
    options.movies = 40;
    options.series = 12;
    options.categories = 3;
    options.seed = 7;
    options.generateMedia = false;
    return options;
}

CatalogItem item(const QString &id, const QString &name, double added)
{
    return CatalogItem {id, CatalogKind::movies, name, u"1"_s, std::nullopt, QString(), QString(), QString(),
        u"mp4"_s, added};
}

} // namespace

class CatalogModelTest : public QObject
{
    Q_OBJECT

private:
    ProviderServer m_provider {providerOptions()};
    std::optional<PlaylistSource> m_source;

    const ProviderCatalog &catalog() const { return m_provider.catalog(); }

    QString categoryID(CatalogKind kind, int category) const
    {
        return kind == CatalogKind::movies ? catalog().vodCategoryID(category)
                                           : catalog().seriesCategoryID(category);
    }

    QList<CatalogCategory> expectedCategories(CatalogKind kind) const
    {
        QList<CatalogCategory> categories;
        const int count
            = kind == CatalogKind::movies ? catalog().vodCategoryCount() : catalog().seriesCategoryCount();
        for (int category = 0; category < count; ++category) {
            categories.append({categoryID(kind, category),
                kind == CatalogKind::movies ? catalog().vodCategoryName(category)
                                            : catalog().seriesCategoryName(category)});
        }
        return categories;
    }

    // The ids the provider lists in a category, in its order.
    QStringList expectedIDs(CatalogKind kind, int category) const
    {
        QStringList ids;
        if (kind == CatalogKind::movies) {
            for (int index = 0; index < catalog().movieCount(); ++index) {
                if (catalog().movieCategory(index) == category)
                    ids.append(QString::number(catalog().movieID(index)));
            }
        } else {
            for (int index = 0; index < catalog().seriesCount(); ++index) {
                if (catalog().seriesCategory(index) == category)
                    ids.append(QString::number(catalog().seriesID(index)));
            }
        }
        return ids;
    }

    static QString listAction(CatalogKind kind)
    {
        return kind == CatalogKind::movies ? u"get_vod_streams:"_s : u"get_series:"_s;
    }

    static QString categoriesAction(CatalogKind kind)
    {
        return kind == CatalogKind::movies ? u"get_vod_categories:"_s : u"get_series_categories:"_s;
    }

    // Opens `kind` and waits until its categories and the selected category's titles are in.
    static void openAndWait(Fixture &fixture, CatalogKind kind)
    {
        fixture.model.open(kind, false, std::nullopt, std::nullopt);
        QTRY_VERIFY(!fixture.model.loading());
        QCOMPARE(fixture.model.error(), std::nullopt);
    }

    static void selectAndWait(Fixture &fixture, const CatalogCategory &category)
    {
        fixture.model.select(category, false);
        QTRY_VERIFY(!fixture.model.loading());
        QCOMPARE(fixture.model.error(), std::nullopt);
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(m_provider.start(), qPrintable(m_provider.errorString()));
        m_source = xtream(m_provider.baseURL().toString());
        // Every case below needs categories holding at least two titles.
        for (int category = 0; category < 3; ++category) {
            QVERIFY(expectedIDs(CatalogKind::movies, category).size() >= 2);
            QVERIFY(!expectedIDs(CatalogKind::series, category).isEmpty());
        }
    }

    void opensFirstCategory_data()
    {
        QTest::addColumn<CatalogKind>("kind");
        QTest::newRow("movies") << CatalogKind::movies;
        QTest::newRow("series") << CatalogKind::series;
    }

    void opensFirstCategory()
    {
        QFETCH(CatalogKind, kind);
        Fixture fixture {m_source};
        QVERIFY(fixture.model.hasCatalog());
        fixture.model.open(kind, false, std::nullopt, std::nullopt);
        QVERIFY(fixture.model.loading());
        QTRY_VERIFY(!fixture.model.loading());

        QCOMPARE(fixture.model.kind(), kind);
        QCOMPARE(fixture.model.kindName(), kind == CatalogKind::movies ? u"movies"_s : u"series"_s);
        QCOMPARE(fixture.model.categories(), expectedCategories(kind));
        QCOMPARE(fixture.model.selectedCategory(), expectedCategories(kind).first());
        QCOMPARE(listed(fixture.model.items(), &CatalogItem::id), expectedIDs(kind, 0));
        QCOMPARE(fixture.model.error(), std::nullopt);
        QCOMPARE(fixture.transport.requests,
            QStringList({categoriesAction(kind), listAction(kind) + categoryID(kind, 0)}));
        for (const CatalogItem &title : fixture.model.items()) {
            QCOMPARE(title.kind, kind);
            QCOMPARE(title.categoryID, categoryID(kind, 0));
        }
    }

    // Category A, then B before either answers: A's late answer, titles or failure, changes nothing,
    // is not cached, and leaves `loading` to B, which is still on its way.
    void aSupersededAnswerChangesNothing_data()
    {
        QTest::addColumn<bool>("fails");
        QTest::newRow("late titles") << false;
        QTest::newRow("late failure") << true;
    }

    void aSupersededAnswerChangesNothing()
    {
        QFETCH(bool, fails);
        LoopbackServer server;
        server.setFallback([fails](const LoopbackServer::Request &request) {
            const QUrlQuery query(request.query);
            const QString category = query.queryItemValue(u"category_id"_s);
            if (category.isEmpty())
                return LoopbackServer::Response::ok(
                    R"([{"category_id":"5","category_name":"A"},{"category_id":"6","category_name":"B"}])",
                    "application/json");
            if (fails && category == u"5"_s)
                return LoopbackServer::Response::withStatus(500);
            return LoopbackServer::Response::ok(
                u"[{\"stream_id\":%1,\"name\":\"T\",\"category_id\":\"%1\",\"added\":\"1\"}]"_s.arg(category)
                    .toUtf8(),
                "application/json");
        });
        Fixture fixture {xtream(server)};
        fixture.transport.hold(u"get_vod_streams:5"_s);
        fixture.transport.hold(u"get_vod_streams:6"_s);
        fixture.model.open(CatalogKind::movies, false, std::nullopt, std::nullopt); // selects A
        QTRY_COMPARE(fixture.transport.count(u"get_vod_streams:5"_s), 1);
        const CatalogCategory b = fixture.model.categories().at(1);
        fixture.model.select(b, false);

        QVERIFY(fixture.transport.answerLate(u"get_vod_streams:5"_s));
        QVERIFY(fixture.model.loading());
        QCOMPARE(fixture.model.error(), std::nullopt);
        QVERIFY(fixture.model.items().isEmpty());
        QCOMPARE(fixture.model.selectedCategory(), b);

        fixture.transport.release(u"get_vod_streams:6"_s);
        QTRY_VERIFY(!fixture.model.loading());
        QCOMPARE(listed(fixture.model.items(), &CatalogItem::id), QStringList {u"6"_s});
        fixture.model.select(fixture.model.categories().at(0), false);
        QCOMPARE(fixture.transport.count(u"get_vod_streams:5"_s), 2);
        QTRY_COMPARE(fixture.transport.answered, 4);
    }

    // A detail that arrives after the user opened another title, or closed it, is dropped; so is
    // anything the connection was answering when another replaced it.
    void lateAnswersDropped()
    {
        Fixture fixture {m_source};
        openAndWait(fixture, CatalogKind::movies);
        const CatalogItem first = fixture.model.items().at(0);
        const CatalogItem second = fixture.model.items().at(1);
        const QString requestFirst = u"get_vod_info:"_s + first.id;

        fixture.transport.hold(requestFirst);
        fixture.model.show(first);
        fixture.model.show(second);
        QTRY_VERIFY(!fixture.model.loadingDetail());
        QVERIFY(fixture.model.detail());
        QCOMPARE(fixture.model.detail()->item, second);

        QVERIFY(fixture.transport.answerLate(requestFirst));
        QCOMPARE(fixture.model.selectedItem(), second);
        QVERIFY(fixture.model.detail());
        QCOMPARE(fixture.model.detail()->item, second);
        QCOMPARE(fixture.model.detailError(), std::nullopt);

        // Closed before its answer: nothing comes back.
        fixture.transport.hold(requestFirst);
        fixture.model.show(first);
        QVERIFY(fixture.model.loadingDetail());
        fixture.model.closeDetail();
        QVERIFY(!fixture.model.loadingDetail());
        QVERIFY(fixture.transport.answerLate(requestFirst));
        QCOMPARE(fixture.model.selectedItem(), std::nullopt);
        QVERIFY(!fixture.model.detail());
        QVERIFY(!fixture.model.loadingDetail());

        // A new connection drops whatever the old one was still answering, and keeps what the user
        // chose to look at: the kind, the order and the season.
        fixture.transport.hold(u"get_series_categories:"_s);
        fixture.model.open(CatalogKind::series, false, std::nullopt, std::nullopt);
        fixture.model.setSortByTitle(true);
        fixture.model.setSelectedSeason(2);
        QVERIFY(fixture.model.loading());
        fixture.model.reset(std::nullopt);
        QVERIFY(!fixture.model.loading());
        QVERIFY(!fixture.model.hasCatalog());
        QCOMPARE(fixture.model.kind(), CatalogKind::series);
        QVERIFY(fixture.model.sortByTitle());
        QCOMPARE(fixture.model.selectedSeason(), std::optional<qint64>(2));

        QVERIFY(fixture.transport.answerLate(u"get_series_categories:"_s));
        QVERIFY(fixture.model.categories().isEmpty());
        QCOMPARE(fixture.model.selectedCategory(), std::nullopt);
        QCOMPARE(fixture.model.error(), std::nullopt);
        QCOMPARE(fixture.transport.requests.last(), u"get_series_categories:"_s); // nothing asked since
    }

    // The model may go away while a request is on its way: the answer finds nobody and touches
    // nothing; or while the downloads still run: destroying it cancels them (the server never answers).
    void destroyedWhileLoading_data()
    {
        QTest::addColumn<bool>("silentServer");
        QTest::newRow("an answer held back") << false;
        QTest::newRow("downloads running") << true;
    }

    void destroyedWhileLoading()
    {
        QFETCH(bool, silentServer);
        LoopbackServer server;
        server.setFallback([](const LoopbackServer::Request &) { return LoopbackServer::Response::silence(); });
        StoreTest::Preferences preferences;
        WatchHistory history(preferences.settings());
        Transport transport;
        auto model = std::make_unique<CatalogModel>(history, transport.fetch());
        if (silentServer) {
            model->reset(xtream(server));
            model->open(CatalogKind::series, false, std::nullopt, std::nullopt);
            model->show(item(u"3"_s, u"Sèrie"_s, 0));
            QCOMPARE(transport.requests, (QStringList {u"get_series_categories:"_s, u"get_vod_info:3"_s}));
            QTRY_COMPARE(server.requestCount(), 2);
        } else {
            model->reset(m_source);
            transport.hold(u"get_vod_categories:"_s);
            model->open(CatalogKind::movies, false, item(u"1"_s, u"Pel·lícula"_s, 0), std::nullopt);
            QCOMPARE(transport.requests, QStringList {u"get_vod_categories:"_s});
        }
        model.reset();
        transport.release(u"get_vod_categories:"_s);
        QTRY_COMPARE(transport.answered, silentServer ? 2 : 1);
        drain();
    }

    // Each kind keeps its lists: series, then movies, then series again asks the provider nothing
    // and comes back to the series category selected last. Refresh then asks again for the
    // categories and that category's titles, drops every cached series list, and leaves the movies',
    // which are then searched and filtered.
    void kindsKeepTheirListsUntilRefreshed()
    {
        Fixture fixture {m_source};
        openAndWait(fixture, CatalogKind::series);
        const CatalogCategory c0 = fixture.model.categories().at(0);
        const CatalogCategory c1 = fixture.model.categories().at(1);
        selectAndWait(fixture, c1);
        const QList<CatalogItem> c1Items = fixture.model.items();
        QCOMPARE(listed(c1Items, &CatalogItem::id), expectedIDs(CatalogKind::series, 1));
        openAndWait(fixture, CatalogKind::movies);

        QStringList before = fixture.transport.requests;
        fixture.model.open(CatalogKind::series, false, std::nullopt, std::nullopt);
        QVERIFY(!fixture.model.loading());
        QCOMPARE(fixture.model.kind(), CatalogKind::series);
        QCOMPARE(fixture.model.categories(), expectedCategories(CatalogKind::series));
        QCOMPARE(fixture.model.selectedCategory(), c1);
        QCOMPARE(fixture.model.items(), c1Items);
        QCOMPARE(fixture.transport.requests, before);
        fixture.model.setSearch(u"x"_s);

        fixture.model.refresh();
        QVERIFY(fixture.model.loading());
        QTRY_VERIFY(!fixture.model.loading());
        QCOMPARE(fixture.model.error(), std::nullopt);
        QCOMPARE(fixture.transport.count(u"get_series_categories:"_s), 2);
        QCOMPARE(fixture.transport.count(u"get_series:"_s + c1.id), 2);
        QCOMPARE(fixture.model.selectedCategory(), c1);
        QCOMPARE(listed(fixture.model.items(), &CatalogItem::id), expectedIDs(CatalogKind::series, 1));
        QCOMPARE(fixture.model.search(), QString());

        // c0's titles were cached before the refresh: they are asked for again.
        selectAndWait(fixture, c0);
        QCOMPARE(fixture.transport.count(u"get_series:"_s + c0.id), 2);

        before = fixture.transport.requests;
        fixture.model.open(CatalogKind::movies, false, std::nullopt, std::nullopt);
        QVERIFY(!fixture.model.loading());
        QCOMPARE(listed(fixture.model.items(), &CatalogItem::id), expectedIDs(CatalogKind::movies, 0));
        QCOMPARE(fixture.transport.requests, before);

        // The filtered lists are rebuilt only when their inputs change, and follow the model's searches.
        const QList<CatalogItem> items = fixture.model.items();
        const QString name = items.first().name;

        QSignalSpy itemResets(fixture.model.filteredItems(), &QAbstractItemModel::modelReset);
        QSignalSpy categoryResets(fixture.model.filteredCategories(), &QAbstractItemModel::modelReset);
        QSignalSpy searchChanged(&fixture.model, &CatalogModel::searchChanged);
        fixture.model.setSearch(name);
        QCOMPARE(searchChanged.size(), 1);
        QCOMPARE(itemResets.size(), 1);
        QVERIFY(fixture.model.filteredItems()->visibleItems().contains(items.first()));
        QVERIFY(fixture.model.filteredItems()->count() < items.size());
        fixture.model.setSearch(name);
        QCOMPARE(searchChanged.size(), 1);
        QCOMPARE(itemResets.size(), 1);
        QCOMPARE(categoryResets.size(), 0);

        fixture.model.setSearch(QString());

        const CatalogCategory last = fixture.model.categories().last();
        fixture.model.setCategorySearch(last.name);
        QVERIFY(fixture.model.filteredCategories()->visibleCategories().contains(last));
        fixture.model.selectCategoryAt(fixture.model.filteredCategories()->visibleCategories().indexOf(last));
        QCOMPARE(fixture.model.selectedCategory(), last);
        QCOMPARE(fixture.model.categorySearch(), last.name); // selecting keeps the category search
        QTRY_VERIFY(!fixture.model.loading());
        QCOMPARE(listed(fixture.model.items(), &CatalogItem::id),
            expectedIDs(CatalogKind::movies, catalog().vodCategoryCount() - 1));
        fixture.model.selectCategoryAt(99);
        fixture.model.showItemAt(-1);
        QCOMPARE(fixture.model.selectedCategory(), last);
        QCOMPARE(fixture.model.selectedItem(), std::nullopt);

        // A query that folds to nothing (a lone combining accent) finds nothing, in both searches.
        fixture.model.setSearch(u"\u0301"_s);
        fixture.model.setCategorySearch(u"\u0301"_s);
        QCOMPARE(fixture.model.filteredItems()->count(), 0);
        QCOMPARE(fixture.model.filteredCategories()->count(), 0);
    }

    // Opening the kind on screen with a title only opens that title: category, titles, searches and
    // order stay. A category asked for from outside (a favourite, a personal list) is selected with
    // fresh titles; one the provider no longer lists is reported.
    void requestedTitleAndCategory()
    {
        Fixture fixture {m_source};
        openAndWait(fixture, CatalogKind::movies);
        const CatalogCategory c2 = fixture.model.categories().at(2);
        selectAndWait(fixture, c2);
        const QList<CatalogItem> items = fixture.model.items();
        fixture.model.setSearch(u"a"_s);
        fixture.model.setCategorySearch(u"e"_s);
        fixture.model.setSortByTitle(true);
        const QStringList before = fixture.transport.requests;
        fixture.model.open(CatalogKind::movies, false, items.last(), std::nullopt);
        QCOMPARE(fixture.model.selectedItem(), items.last());
        QTRY_VERIFY(!fixture.model.loadingDetail());
        QCOMPARE(fixture.model.selectedCategory(), c2);
        QCOMPARE(fixture.model.items(), items);
        QCOMPARE(fixture.model.search(), u"a"_s);
        QCOMPARE(fixture.model.categorySearch(), u"e"_s);
        QVERIFY(fixture.model.sortByTitle());
        QCOMPARE(fixture.transport.requests, before + QStringList {u"get_vod_info:"_s + items.last().id});

        openAndWait(fixture, CatalogKind::series);

        fixture.model.open(CatalogKind::movies, false, std::nullopt, c2.id);
        QTRY_VERIFY(!fixture.model.loading());
        QCOMPARE(fixture.model.selectedCategory(), c2);
        QCOMPARE(listed(fixture.model.items(), &CatalogItem::id), expectedIDs(CatalogKind::movies, 2));
        QCOMPARE(fixture.transport.count(u"get_vod_categories:"_s), 2);
        QCOMPARE(fixture.transport.count(u"get_vod_streams:"_s + c2.id), 2);

        fixture.model.open(CatalogKind::movies, false, std::nullopt, u"999999"_s);
        QTRY_VERIFY(!fixture.model.loading());
        QCOMPARE(fixture.model.error(), Texts::missingCategory);
        QCOMPARE(fixture.model.errorText(), Texts::missingCategory);
        QCOMPARE(fixture.model.selectedCategory(), std::nullopt);
        QVERIFY(fixture.model.items().isEmpty());
        QCOMPARE(fixture.model.categories(), expectedCategories(CatalogKind::movies));

        // A favourite's title opens its own category and then its detail.
        int favouriteIndex = 0;
        while (catalog().seriesCategory(favouriteIndex) != 1)
            ++favouriteIndex;
        CatalogItem favourite = item(
            QString::number(catalog().seriesID(favouriteIndex)), catalog().seriesName(favouriteIndex), 0);
        favourite.kind = CatalogKind::series;
        favourite.categoryID = categoryID(CatalogKind::series, 1);
        QVERIFY(!favourite.id.isEmpty());
        fixture.model.open(CatalogKind::series, false, favourite, std::nullopt);
        QTRY_VERIFY(!fixture.model.loading() && !fixture.model.loadingDetail());
        QVERIFY(fixture.model.selectedCategory());
        QCOMPARE(fixture.model.selectedCategory()->id, favourite.categoryID);
        QCOMPARE(fixture.model.selectedItem(), favourite);
        QVERIFY(fixture.model.detail());
    }

    // No connection, or an M3U list: empty lists, no loading, no message, no request.
    void noCatalogue_data()
    {
        QTest::addColumn<bool>("m3u");
        QTest::newRow("no connection") << false;
        QTest::newRow("M3U list") << true;
    }

    void noCatalogue()
    {
        QFETCH(bool, m3u);
        Fixture fixture;
        if (m3u) {
            fixture.model.reset(PlaylistSource(QUuid::createUuid(), u"Llista"_s,
                m_provider.url(u"/playlist.m3u"_s).toString(), QString(), QString(),
                PlaylistSource::Kind::m3u));
        } else {
            fixture.model.reset(std::nullopt);
        }
        QVERIFY(!fixture.model.hasCatalog());
        for (const CatalogKind kind : CatalogKinds::allCases) {
            fixture.model.open(kind, true, std::nullopt, std::nullopt);
            QCOMPARE(fixture.model.kind(), kind);
            QVERIFY(!fixture.model.loading());
            QVERIFY(fixture.model.categories().isEmpty());
            QVERIFY(fixture.model.items().isEmpty());
            QCOMPARE(fixture.model.error(), std::nullopt);
            QCOMPARE(fixture.model.errorText(), QString());
        }
        fixture.model.retry();
        fixture.model.refresh();
        QVERIFY(!fixture.model.loading());
        QCOMPARE(fixture.model.error(), std::nullopt);
        if (!m3u) {
            fixture.model.show(item(u"1"_s, u"Pel·lícula"_s, 0));
            QVERIFY(!fixture.model.loadingDetail());
            QCOMPARE(fixture.model.detailError(), std::nullopt);
            QCOMPARE(fixture.model.watchKey(u"movies"_s, u"1"_s), QString());
        }
        drain();
        QVERIFY(fixture.transport.requests.isEmpty());
    }

    // Failures reach the user as LibraryModel::safeError texts; retry repeats what failed. A title's
    // detail fails and is retried apart from the lists.
    void errorsAndRetry_data()
    {
        QTest::addColumn<LoopbackServer::Response>("failure");
        QTest::addColumn<bool>("titles"); // the titles fail, not the categories
        QTest::addColumn<QString>("message");

        using Response = LoopbackServer::Response;
        QTest::newRow("categories: refused account")
            << Response::ok(R"({"user_info":{"auth":0}})", "application/json") << false << Texts::invalidCatalogue;
        QTest::newRow("categories: HTTP 403") << Response::withStatus(403) << false << Texts::denied;
        QTest::newRow("categories: not JSON")
            << Response::ok("<html>", "text/html") << false << Texts::generalFailure;
        QTest::newRow("titles: HTTP 404") << Response::withStatus(404) << true << Texts::httpError(404);
    }

    void errorsAndRetry()
    {
        QFETCH(LoopbackServer::Response, failure);
        QFETCH(bool, titles);
        QFETCH(QString, message);

        LoopbackServer server;
        auto failing = std::make_shared<std::atomic<bool>>(true);
        const QByteArray categories = R"([{"category_id":"5","category_name":"Comèdia"}])";
        const QByteArray streams = R"([{"stream_id":77,"name":"Una","category_id":"5","added":"100"}])";
        server.setFallback([=](const LoopbackServer::Request &request) {
            const QString action = QUrlQuery(request.query).queryItemValue(u"action"_s);
            const bool fails
                = failing->load() && action == (titles ? u"get_vod_streams"_s : u"get_vod_categories"_s);
            if (fails)
                return failure;
            if (action == u"get_vod_categories"_s)
                return LoopbackServer::Response::ok(categories, "application/json");
            if (action == u"get_vod_streams"_s)
                return LoopbackServer::Response::ok(streams, "application/json");
            // No detail action is served.
            return LoopbackServer::Response::ok(R"({"user_info":{"auth":1}})", "application/json");
        });

        Fixture fixture {xtream(server)};
        fixture.model.open(CatalogKind::movies, false, std::nullopt, std::nullopt);
        QTRY_VERIFY(!fixture.model.loading());
        QCOMPARE(fixture.model.error(), message);
        QVERIFY(fixture.model.items().isEmpty());
        QCOMPARE(fixture.model.selectedCategory().has_value(), titles);

        failing->store(false);
        fixture.model.retry();
        QVERIFY(fixture.model.loading());
        QCOMPARE(fixture.model.error(), std::nullopt);
        QTRY_VERIFY(!fixture.model.loading());
        QCOMPARE(fixture.model.error(), std::nullopt);
        QCOMPARE(fixture.model.selectedCategory(), (CatalogCategory {u"5"_s, u"Comèdia"_s}));
        QCOMPARE(listed(fixture.model.items(), &CatalogItem::id), QStringList {u"77"_s});

        // A title whose detail the server does not give: a message of the detail's own, retried alone.
        const int requests = server.requestCount();
        fixture.model.show(fixture.model.items().first());
        QVERIFY(fixture.model.loadingDetail());
        QTRY_VERIFY(!fixture.model.loadingDetail());
        QCOMPARE(fixture.model.detailError(), u"El servidor no ha retornat la fitxa d’aquest títol."_s);
        QVERIFY(!fixture.model.detail());
        QCOMPARE(fixture.model.error(), std::nullopt);
        QCOMPARE(server.requestCount(), requests + 1);
        fixture.model.retryDetail();
        QVERIFY(fixture.model.loadingDetail());
        QCOMPARE(fixture.model.detailError(), std::nullopt);
        QTRY_VERIFY(!fixture.model.loadingDetail());
        QCOMPARE(server.requestCount(), requests + 2);
        QCOMPARE(fixture.model.selectedItem()->id, u"77"_s);
    }

    // The series opens on the lowest season that still has an unwatched episode, else on the last.
    void initialSeasonFromHistory()
    {
        int series = -1;
        for (int index = 0; index < catalog().seriesCount() && series < 0; ++index) {
            if (catalog().seasons(index).size() >= 2)
                series = index;
        }
        QVERIFY(series >= 0);

        Fixture fixture {m_source};
        CatalogItem title
            = item(QString::number(catalog().seriesID(series)), catalog().seriesName(series), 0);
        title.kind = CatalogKind::series;
        fixture.model.show(title);
        QTRY_VERIFY(!fixture.model.loadingDetail());
        QVERIFY(fixture.model.detail());
        const QList<CatalogEpisode> episodes = fixture.model.detail()->episodes;
        const QList<qint64> seasons = fixture.model.detail()->seasons();
        QVERIFY(seasons.size() >= 2);

        // The first season watched but for its first episode, only partly seen: that still opens the
        // first season; once it is watched too, the detail opens on the second.
        const QUuid source = m_source->id;
        const QString partly = WatchProgress::key(source, CatalogKind::series, episodes.first().id);
        fixture.history.update(partly, 600, 1200);
        for (const CatalogEpisode &episode : episodes.mid(1)) {
            if (episode.season == seasons.first())
                fixture.history.toggle(WatchProgress::key(source, CatalogKind::series, episode.id));
        }
        fixture.model.show(title);
        QTRY_VERIFY(!fixture.model.loadingDetail());
        QCOMPARE(fixture.model.selectedSeason(), seasons.first());
        fixture.history.toggle(partly);
        QCOMPARE(
            fixture.model.episodes()->index(0).data(CatalogEpisodeListModel::WatchedRole), QVariant(true));
        fixture.model.show(title);
        QTRY_VERIFY(!fixture.model.loadingDetail());
        QCOMPARE(fixture.model.selectedSeason(), seasons.at(1));

        // Everything watched: the series opens at its end.
        for (const CatalogEpisode &episode : episodes) {
            if (episode.season != seasons.first())
                fixture.history.toggle(WatchProgress::key(source, CatalogKind::series, episode.id));
        }
        fixture.model.show(title);
        QTRY_VERIFY(!fixture.model.loadingDetail());
        QCOMPARE(fixture.model.selectedSeason(), seasons.last());
        QCOMPARE(fixture.model.shownSeason(), seasons.last());

        // The view picks a season; one the series lacks shows the lowest.
        QSignalSpy shown(&fixture.model, &CatalogModel::shownSeasonChanged);
        fixture.model.setSelectedSeasonValue(QVariant(seasons.first()));
        QCOMPARE(fixture.model.shownSeason(), seasons.first());
        fixture.model.setSelectedSeasonValue(QVariant(seasons.first()));
        QCOMPARE(shown.size(), 1);
        fixture.model.setSelectedSeason(999);
        QCOMPARE(fixture.model.shownSeason(), seasons.first());
        fixture.model.setSelectedSeasonValue(QVariant());
        QCOMPARE(fixture.model.selectedSeason(), std::nullopt);
        QCOMPARE(fixture.model.shownSeason(), seasons.first());
        for (int row = 0; row < fixture.model.episodes()->count(); ++row)
            QCOMPARE(fixture.model.episodes()->episodeAt(row).season, seasons.first());

        // Closing keeps the season, as the next title replaces it.
        fixture.model.setSelectedSeason(seasons.last());
        fixture.model.closeDetail();
        QCOMPARE(fixture.model.selectedSeason(), seasons.last());
        QCOMPARE(fixture.model.shownSeason(), std::nullopt);
        QCOMPARE(fixture.model.episodes()->count(), 0);
    }

    // Newest first, ties and unknown times by name; by title with numbers by value; equal keys keep
    // the provider's order.
    void sortOrder_data()
    {
        QTest::addColumn<QList<CatalogItem>>("items");
        QTest::addColumn<bool>("sortByTitle");
        QTest::addColumn<QStringList>("expected"); // ids

        QTest::newRow("newest first")
            << QList {item(u"1"_s, u"A"_s, 10), item(u"2"_s, u"B"_s, 30), item(u"3"_s, u"C"_s, 20)} << false
            << QStringList {u"2"_s, u"3"_s, u"1"_s};
        QTest::newRow("same second by name")
            << QList {item(u"1"_s, u"beta"_s, 5), item(u"2"_s, u"Alfa"_s, 5), item(u"3"_s, u"Gamma"_s, 9)}
            << false << QStringList {u"3"_s, u"2"_s, u"1"_s};
        QTest::newRow("unknown time last") << QList {item(u"1"_s, u"A"_s, 0), item(u"2"_s, u"Z"_s, 1),
            item(u"3"_s, u"B"_s, 0), item(u"4"_s, u"Y"_s, 0.5)}
                                           << false << QStringList {u"2"_s, u"4"_s, u"1"_s, u"3"_s};
        QTest::newRow("by title, numbers by value") << QList {item(u"1"_s, u"Capítol 10"_s, 3),
            item(u"2"_s, u"capítol 2"_s, 2), item(u"3"_s, u"Capítol 1"_s, 1)}
                                                    << true << QStringList {u"3"_s, u"2"_s, u"1"_s};
        QTest::newRow("by title, accents")
            << QList {item(u"1"_s, u"Ètica"_s, 1), item(u"2"_s, u"Fosc"_s, 2), item(u"3"_s, u"Eco"_s, 3)}
            << true << QStringList {u"3"_s, u"1"_s, u"2"_s};
        QTest::newRow("equal names keep order") << QList {item(u"9"_s, u"Mateix"_s, 1),
            item(u"3"_s, u"mateix"_s, 2), item(u"5"_s, u"Mateix"_s, 3)}
                                                << true << QStringList {u"9"_s, u"3"_s, u"5"_s};
        QTest::newRow("equal times and names keep order")
            << QList {item(u"9"_s, u"Igual"_s, 4), item(u"3"_s, u"Igual"_s, 4), item(u"5"_s, u"Abans"_s, 4)}
            << false << QStringList {u"5"_s, u"9"_s, u"3"_s};
    }

    void sortOrder()
    {
        QFETCH(QList<CatalogItem>, items);
        QFETCH(bool, sortByTitle);
        QFETCH(QStringList, expected);

        const Fixture fixture; // the filtered titles on their own
        CatalogItemListModel &model = *fixture.model.filteredItems();
        model.setSortByTitle(sortByTitle);
        model.setItems(items);
        QCOMPARE(listed(model.visibleItems(), &CatalogItem::id), expected);
        QCOMPARE(listed(model, CatalogItemListModel::ItemIDRole), expected);
    }

    // Containment ignores case and accents; the empty search shows everything; the text is used as typed.
    void search_data()
    {
        QTest::addColumn<QStringList>("names");
        QTest::addColumn<QString>("search");
        QTest::addColumn<QStringList>("expected");

        // In name order: the titles list them so (same added time), the categories as given.
        const QStringList names {u"Café de nit"_s, u"Crème"_s, u"L’última CAFETERIA"_s, u"Nit"_s};
        QTest::newRow("cafe finds Café")
            << names << u"cafe"_s << QStringList {u"Café de nit"_s, u"L’última CAFETERIA"_s};
        QTest::newRow("upper case and accents") << names << u"CRÉME"_s << QStringList {u"Crème"_s};
        QTest::newRow("inside a word") << names << u"nit"_s << QStringList {u"Café de nit"_s, u"Nit"_s};
        QTest::newRow("empty shows all") << names << QString() << names;
        QTest::newRow("blank is a search")
            << names << u" "_s << QStringList {u"Café de nit"_s, u"L’última CAFETERIA"_s};
        QTest::newRow("no match") << names << u"zzz"_s << QStringList();
        const QString alphabet = u"abcdefghijklmnopqrstuvwxyz"_s;
        QTest::newRow("every capital letter") << QStringList {alphabet, u"Nit"_s} << alphabet.toUpper()
                                              << QStringList {alphabet};
    }

    void search()
    {
        QFETCH(QStringList, names);
        QFETCH(QString, search);
        QFETCH(QStringList, expected);

        const Fixture fixture; // the filtered lists on their own
        CatalogItemListModel &items = *fixture.model.filteredItems();
        CatalogCategoryListModel &categories = *fixture.model.filteredCategories();
        QList<CatalogItem> titles;
        QList<CatalogCategory> groups;
        for (qsizetype index = 0; index < names.size(); ++index) {
            // The same added time: the order is that of the names.
            titles.append(item(QString::number(index), names.at(index), 1));
            groups.append({QString::number(index), names.at(index)});
        }
        items.setItems(titles);
        categories.setCategories(groups);
        items.setSearch(search);
        categories.setSearch(search);

        QCOMPARE(listed(items.visibleItems(), &CatalogItem::name), expected);
        QCOMPARE(listed(categories.visibleCategories(), &CatalogCategory::name), expected);
        QCOMPARE(categories.rowCount(), int(expected.size()));
    }
};

QTEST_GUILESS_MAIN(CatalogModelTest)
#include "tst_catalog_model.moc"
