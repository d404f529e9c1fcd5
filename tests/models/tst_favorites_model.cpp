// The favourites browser's model on the real library model and catalogue favourites store: a playlist
// scripted on a loopback server for the lists, counts and actions, and the local provider's Xtream
// API for the poster lookups, with a preferences file of its own and a throw-away Secret Service.

#include "../stores/StoreTestSupport.h"
#include "Listed.h"
#include "LoopbackServer.h"
#include "MediaPlayer.h"
#include "ProviderServer.h"
#include "models/FavoriteChannelListModel.h"
#include "models/FavoriteTitleListModel.h"
#include "models/FavoritesModel.h"
#include "models/LibraryModel.h"
#include "models/ProgrammeGuide.h"
#include "records/CatalogFavorite.h"
#include "stores/CatalogFavorites.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <tuple>

using namespace Qt::StringLiterals;

namespace {

PlaylistSource m3uSource(const QString &name, const QUrl &url)
{
    return PlaylistSource(QUuid::createUuid(), name, url.toString(), QString(), QString(), PlaylistSource::Kind::m3u);
}

CatalogItem title(CatalogKind kind, const QString &id, const QString &name)
{
    CatalogItem item;
    item.id = id;
    item.kind = kind;
    item.name = name;
    item.categoryID = u"1"_s;
    return item;
}

} // namespace

class tst_FavoritesModel : public QObject
{
    Q_OBJECT

private:
    LoopbackServer m_server;
    std::unique_ptr<ProviderServer> m_provider;
    std::unique_ptr<StoreTest::Preferences> m_preferences;
    std::unique_ptr<LibraryModel> m_model;
    std::unique_ptr<QAbstractItemModelTester> m_channelTester;
    std::unique_ptr<QAbstractItemModelTester> m_titleTester;
    PlaylistSource m_tv = m3uSource(u"TV"_s, {});
    PlaylistSource m_other = m3uSource(u"Una altra"_s, {});

    FavoritesModel &favorites() const { return *m_model->favoritesBrowser(); }
    QStringList channelNames() const
    {
        return listed(*favorites().channels(), FavoriteChannelListModel::NameRole);
    }
    QStringList titleNames() const { return listed(*favorites().titles(), FavoriteTitleListModel::NameRole); }

    QTemporaryDir m_guideCache;

    // A model with these channel favourites stored, started without any connection.
    void start(const QStringList &channelFavorites = {})
    {
        m_preferences->settings().setValue(LibraryModel::favoritesKey(), channelFavorites);
        LibraryModel::Environment environment;
        environment.preferences = &m_preferences->settings();
        environment.keychainService = u"test.quenvo.favorites."_s + QUuid::createUuid().toString(QUuid::WithoutBraces);
        environment.pollPlayback = false;
        environment.guideCacheFolder = m_guideCache.path();
        m_model = std::make_unique<LibraryModel>(environment);
        m_channelTester = std::make_unique<QAbstractItemModelTester>(
            favorites().channels(), QAbstractItemModelTester::FailureReportingMode::QtTest);
        m_titleTester = std::make_unique<QAbstractItemModelTester>(
            favorites().titles(), QAbstractItemModelTester::FailureReportingMode::QtTest);
        QVERIFY(QSignalSpy(m_model.get(), &LibraryModel::startedUp).wait(10000));
    }

    bool loaded(const PlaylistSource &source)
    {
        m_model->load(source, false, true);
        // The list's programme guide too, so that its download is not counted among the requests.
        return QTest::qWaitFor([&] { return !m_model->isLoading() && !m_model->guide()->loading(); }, 20000)
            && m_model->activeID() == source.id;
    }

    QString channelKey(const QString &name, const QString &path, const PlaylistSource &source) const
    {
        return Channel(name, u"g"_s, m_server.url(path), false).favoriteID(source.id);
    }

    // Every channel of the playlist a favourite of m_tv, "Esports" also of m_other; two movies and a
    // series of m_tv, a movie of m_other.
    void startWithFavorites()
    {
        start({channelKey(u"Canal 10"_s, u"/c10.ts"_s, m_tv), channelKey(u"Canal 2"_s, u"/c2.ts"_s, m_tv),
               channelKey(u"Café TV"_s, u"/cafe.ts"_s, m_tv), channelKey(u"Esports"_s, u"/esports.ts"_s, m_other)});
        CatalogFavorites &store = *m_model->catalogFavorites();
        store.toggle(m_tv.id, title(CatalogKind::movies, u"12"_s, u"Pel·lícula 10"_s));
        store.toggle(m_tv.id, title(CatalogKind::movies, u"11"_s, u"Pel·lícula 9"_s));
        store.toggle(m_tv.id, title(CatalogKind::series, u"12"_s, u"Sèrie del cafè"_s));
        store.toggle(m_other.id, title(CatalogKind::movies, u"13"_s, u"D’una altra llista"_s));
    }

private Q_SLOTS:
    void initTestCase()
    {
        MediaPlayer::setExtraOptionsForTesting({u"--aout=dummy"_s});
        QByteArray playlist = "#EXTM3U\n";
        for (const auto &[name, path] : {std::pair{"Canal 10", "/c10.ts"}, std::pair{"Canal 2", "/c2.ts"},
                                         std::pair{"Esports", "/esports.ts"}, std::pair{"Café TV", "/cafe.ts"}})
            playlist += QByteArray("#EXTINF:-1 group-title=\"g\",") + name + '\n' + m_server.url(QString::fromLatin1(path)).toEncoded() + '\n';
        m_server.route(u"/tv.m3u"_s, LoopbackServer::Response::ok(playlist));
        m_tv = m3uSource(u"TV"_s, m_server.url(u"/tv.m3u"_s));
        m_other = m3uSource(u"Una altra"_s, m_server.url(u"/tv.m3u"_s));

        ProviderOptions options;
        options.liveChannels = 8;
        options.movies = 3;
        options.series = 1;
        options.generateMedia = false;
        m_provider = std::make_unique<ProviderServer>(options);
        QVERIFY2(m_provider->start(), qPrintable(m_provider->errorString()));
    }

    void init() { m_preferences = std::make_unique<StoreTest::Preferences>(); }

    void cleanup()
    {
        m_channelTester.reset();
        m_titleTester.reset();
        m_model.reset();
        m_preferences.reset();
    }

    // No connection, then one whose favourites are listed as a person reads names and searched per
    // section, then another with the same channels: each time only the active connection's own.
    void listsAndCountsAreThoseOfTheActiveConnection()
    {
        startWithFavorites();
        for (const QString &section : {u"live"_s, u"movies"_s, u"series"_s})
            QCOMPARE(favorites().count(section), 0);
        QCOMPARE(favorites().channels()->count(), 0);

        QVERIFY(loaded(m_tv));
        QCOMPARE(favorites().count(u"live"_s), 3);
        QCOMPARE(favorites().count(u"movies"_s), 2);
        QCOMPARE(favorites().count(u"series"_s), 1);
        // The search ignores case and accents and leaves the counts alone; the live section shows
        // series among the titles, so only the kind picked for the tiles matters.
        using Section = LibraryModel::Section;
        const QList<std::tuple<Section, QString, QStringList>> searches {
            {Section::live, QString(), {u"Café TV"_s, u"Canal 2"_s, u"Canal 10"_s}},
            {Section::live, u"CAFE"_s, {u"Café TV"_s}},
            {Section::live, u"canal"_s, {u"Canal 2"_s, u"Canal 10"_s}},
            {Section::movies, QString(), {u"Pel·lícula 9"_s, u"Pel·lícula 10"_s}},
            {Section::series, QString(), {u"Sèrie del cafè"_s}},
            {Section::movies, u"cafe"_s, {}},
            {Section::series, u"cafe"_s, {u"Sèrie del cafè"_s}},
        };
        for (const auto &[section, search, shown] : searches) {
            m_model->setFavoriteSection(section);
            favorites().setSearch(search);
            QCOMPARE(section == Section::live ? channelNames() : titleNames(), shown);
            QCOMPARE(favorites().liveCount(), 3);
            QCOMPARE(favorites().movieCount(), 2);
        }
        // Showing the favourites again starts with an empty search.
        m_model->selectSection(Section::live);
        m_model->showFavorites();
        QCOMPARE(favorites().search(), QString());

        QVERIFY(loaded(m_other));
        QCOMPARE(favorites().liveCount(), 1);
        QCOMPARE(favorites().movieCount(), 1);
        QCOMPARE(favorites().seriesCount(), 0);
        QCOMPARE(channelNames(), QStringList {u"Esports"_s});

        // Its only channel removed: gone from the list, the count and the stored keys. A star set from
        // the channel list shows up at once.
        const QString esports = channelKey(u"Esports"_s, u"/esports.ts"_s, m_other);
        favorites().removeChannel(0);
        QCOMPARE(favorites().channels()->count(), 0);
        QCOMPARE(favorites().liveCount(), 0);
        QVERIFY(!m_model->favorites().contains(esports));
        QVERIFY(
            !m_preferences->settings().value(LibraryModel::favoritesKey()).toStringList().contains(esports));
        m_model->toggleFavorite(m_model->channels().at(0));
        QCOMPARE(channelNames(), QStringList {u"Canal 10"_s});
    }

    void postersAreLookedUpOncePerTitle()
    {
        start();
        PlaylistSource account(QUuid::createUuid(), u"Demo"_s, m_provider->baseURL().toString(),
                               ProviderCatalog::demoUsername(), ProviderCatalog::demoPassword(),
                               PlaylistSource::Kind::xtream);
        QVERIFY(loaded(account));
        const ProviderCatalog &catalog = m_provider->catalog();
        CatalogFavorites &store = *m_model->catalogFavorites();
        const CatalogItem first = title(CatalogKind::movies, QString::number(catalog.movieID(0)), catalog.movieName(0));
        const CatalogItem second = title(CatalogKind::movies, QString::number(catalog.movieID(1)), catalog.movieName(1));
        const CatalogItem unknown = title(CatalogKind::movies, u"999999"_s, u"Desconeguda"_s);
        for (const CatalogItem &item : {first, second, unknown})
            store.toggle(account.id, item);
        m_model->setFavoriteSection(LibraryModel::Section::movies);
        const QString firstID = CatalogFavorite(account.id, first).id();
        const QString secondID = CatalogFavorite(account.id, second).id();
        const QString unknownID = CatalogFavorite(account.id, unknown).id();

        // A tile that leaves before the answer: nothing is remembered.
        favorites().requestPoster(secondID);
        QCOMPARE(favorites().posterLookupCount(), 1);
        favorites().releasePoster(secondID);
        QCOMPARE(favorites().posterLookupCount(), 0);
        // Its request may still be on its way to the server: let it land before counting.
        QTRY_COMPARE_WITH_TIMEOUT(m_provider->openConnections(), 0, 10000);

        // Two tiles of one title ask once.
        const long long before = m_provider->requestCount();
        favorites().requestPoster(firstID);
        favorites().requestPoster(firstID);
        QCOMPARE(favorites().posterLookupCount(), 1);
        const QUrl expected = m_provider->url(u"/images/poster-%1.jpg"_s.arg(catalog.moviePoster(0)));
        QTRY_COMPARE_WITH_TIMEOUT(store.poster(firstID), std::optional<QUrl>(expected), 10000);
        QCOMPARE(favorites().posterLookupCount(), 0);
        QCOMPARE(m_provider->requestCount() - before, 1);
        const int row = titleNames().indexOf(catalog.movieName(0));
        QCOMPARE(favorites().titles()->data(favorites().titles()->index(row), FavoriteTitleListModel::PosterRole)
                     .toString(),
                 expected.toString());

        // Known now: no second request.
        favorites().requestPoster(firstID);
        QCOMPARE(favorites().posterLookupCount(), 0);

        // A title the provider does not know keeps its placeholder, silently.
        favorites().requestPoster(unknownID);
        QTRY_COMPARE_WITH_TIMEOUT(favorites().posterLookupCount(), 0, 10000);
        QCOMPARE(store.poster(unknownID), std::nullopt);
        QCOMPARE(m_model->notice(), std::nullopt);
        // Two more round trips later, the lookup abandoned at the start has still stored nothing.
        QCOMPARE(store.poster(secondID), std::nullopt);

        // Another connection's favourite is never asked about.
        const CatalogItem elsewhere = title(CatalogKind::movies, QString::number(catalog.movieID(2)), catalog.movieName(2));
        store.toggle(m_other.id, elsewhere);
        favorites().requestPoster(CatalogFavorite(m_other.id, elsewhere).id());
        QCOMPARE(favorites().posterLookupCount(), 0);
    }
};

QTEST_GUILESS_MAIN(tst_FavoritesModel)
#include "tst_favorites_model.moc"
