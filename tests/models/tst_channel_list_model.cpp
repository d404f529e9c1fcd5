// ChannelListModel and ChannelCategoriesModel: the filtered channel list (category, favourites of the
// active connection, search ignoring case and accents) and the sorted categories, checked by
// QAbstractItemModelTester through every change.
#include "Listed.h"
#include "models/ChannelCategoriesModel.h"
#include "models/ChannelListModel.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTest>
#include <QThreadPool>

#include <future>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

Channel channel(const QString &name, const QString &group)
{
    // The address follows from the name, so each test channel has its own identity.
    const QByteArray slug = QUrl::toPercentEncoding(name);
    return Channel(name, group, QUrl(u"http://127.0.0.1:8080/live/"_s + QString::fromLatin1(slug)), false);
}

// A small connection: accents, case, a group that only the group name matches, numbered groups.
QList<Channel> sampleChannels()
{
    return {
        channel(u"Café TV"_s, u"Notícies"_s),
        channel(u"CAFETERIA 24"_s, u"a10"_s),
        channel(u"Esports 1"_s, u"a9"_s),
        channel(u"Cinema Clàssic"_s, u"Cafè"_s),
        channel(u"Notícies 3/24"_s, u"Notícies"_s),
        channel(u"Música"_s, u"a10"_s),
        channel(u"Canal Infantil"_s, u"Sense categoria"_s),
    };
}

QStringList visibleNames(const ChannelListModel &model)
{
    return listed(model, ChannelListModel::NameRole);
}

const QUuid activeSource = QUuid(u"6F1C2E3A-0B4D-4E5F-8A9B-0C1D2E3F4A5B"_s);
const QUuid otherSource = QUuid(u"A1B2C3D4-2222-4333-8444-55555555555E"_s);

// Both models, each watched by a fatal QAbstractItemModelTester for the whole test.
struct Fixture
{
    ChannelListModel model;
    QAbstractItemModelTester channelTester{&model, QAbstractItemModelTester::FailureReportingMode::Fatal};
    QAbstractItemModelTester categoryTester{model.categories(),
                                            QAbstractItemModelTester::FailureReportingMode::Fatal};
};

QSet<QString> keysOf(const QList<Channel> &channels, const QStringList &names, const QUuid &source)
{
    QSet<QString> keys;
    for (const Channel &c : channels) {
        if (names.contains(c.name()))
            keys.insert(c.favoriteID(source));
    }
    return keys;
}

} // namespace

class ChannelListModelTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void filters_data();
    void filters();
    void narrowingAndWideningSearch();
    void categoriesSortedByReadingOrder();
    void favoritesBelongToTheirConnection();
    void favoriteToggleUpdatesOneRow();
    void signalsOnlyOnChange();
    void preparedElsewhere_data();
    void preparedElsewhere();
    void roles();
};

void ChannelListModelTest::filters_data()
{
    QTest::addColumn<QString>("search");
    QTest::addColumn<std::optional<QString>>("category");
    QTest::addColumn<bool>("favoritesOnly");
    QTest::addColumn<QStringList>("favoriteNames");
    QTest::addColumn<QStringList>("expected");

    const QStringList all = {u"Café TV"_s, u"CAFETERIA 24"_s, u"Esports 1"_s, u"Cinema Clàssic"_s,
                             u"Notícies 3/24"_s, u"Música"_s, u"Canal Infantil"_s};
    const std::optional<QString> any;
    QTest::newRow("empty search shows all") << QString() << any << false << QStringList() << all;
    QTest::newRow("cafe finds Café and CAFETERIA, not the group Cafè")
        << u"cafe"_s << any << false << QStringList() << QStringList{u"Café TV"_s, u"CAFETERIA 24"_s};
    QTest::newRow("accented query finds unaccented name")
        << u"CAFÉT"_s << any << false << QStringList() << QStringList{u"CAFETERIA 24"_s};
    QTest::newRow("search is case-insensitive")
        << u"mUsIcA"_s << any << false << QStringList() << QStringList{u"Música"_s};
    QTest::newRow("no result") << u"zzz"_s << any << false << QStringList() << QStringList();
    QTest::newRow("group only matches nothing")
        << u"sense"_s << any << false << QStringList() << QStringList();
    QTest::newRow("category exact") << QString() << std::optional<QString>(u"a10"_s) << false << QStringList()
                                    << QStringList{u"CAFETERIA 24"_s, u"Música"_s};
    QTest::newRow("category differs in accent only")
        << QString() << std::optional<QString>(u"Cafe"_s) << false << QStringList() << QStringList();
    QTest::newRow("category unknown") << QString() << std::optional<QString>(u"zz"_s) << false << QStringList()
                                      << QStringList();
    QTest::newRow("favourites only") << QString() << any << true
                                     << QStringList{u"Música"_s, u"Esports 1"_s}
                                     << QStringList{u"Esports 1"_s, u"Música"_s};
    QTest::newRow("favourites only, none") << QString() << any << true << QStringList() << QStringList();
    QTest::newRow("category, favourites and search combined")
        << u"24"_s << std::optional<QString>(u"Notícies"_s) << true
        << QStringList{u"Notícies 3/24"_s, u"CAFETERIA 24"_s, u"Café TV"_s} << QStringList{u"Notícies 3/24"_s};
    QTest::newRow("search and category") << u"c"_s << std::optional<QString>(u"a10"_s) << false << QStringList()
                                         << QStringList{u"CAFETERIA 24"_s, u"Música"_s};
}

void ChannelListModelTest::filters()
{
    QFETCH(QString, search);
    QFETCH(std::optional<QString>, category);
    QFETCH(bool, favoritesOnly);
    QFETCH(QStringList, favoriteNames);
    QFETCH(QStringList, expected);

    const QList<Channel> channels = sampleChannels();
    // The same order of operations in both directions: filters before and after the channels arrive.
    for (const bool channelsFirst : {true, false}) {
        Fixture f;
        if (channelsFirst)
            f.model.setChannels(channels, activeSource);
        f.model.setFavorites(keysOf(channels, favoriteNames, activeSource));
        f.model.setCategory(category);
        f.model.setFavoritesOnly(favoritesOnly);
        f.model.setSearch(search);
        if (!channelsFirst)
            f.model.setChannels(channels, activeSource);
        QCOMPARE(visibleNames(f.model), expected);
        QCOMPARE(f.model.count(), expected.size());
    }
}

void ChannelListModelTest::narrowingAndWideningSearch()
{
    // Typing and deleting in the category "a10" (CAFETERIA 24, Música): every step as a search from
    // scratch would show it.
    Fixture f;
    f.model.setChannels(sampleChannels(), activeSource);
    f.model.setCategory(u"a10"_s);
    const QStringList both {u"CAFETERIA 24"_s, u"Música"_s};
    const QStringList cafeteria {u"CAFETERIA 24"_s};
    const QStringList music {u"Música"_s};
    const QList<std::pair<QString, QStringList>> steps {{u"c"_s, both}, {u"ca"_s, both},
        {u"caf"_s, cafeteria}, {u"cafe"_s, cafeteria}, {u"caf"_s, cafeteria}, {u"c"_s, both}, {QString(), both},
        {u"m"_s, music}, {u"mu"_s, music}, {u"mux"_s, {}}, {u"mu"_s, music}, {u"ca"_s, both}};
    for (const auto &[query, expected] : steps) {
        f.model.setSearch(query);
        QCOMPARE(visibleNames(f.model), expected);
    }
}

void ChannelListModelTest::categoriesSortedByReadingOrder()
{
    Fixture f;
    f.model.setChannels(sampleChannels(), activeSource);
    const ChannelCategoriesModel &categories = *f.model.categories();
    QCOMPARE(categories.names(), (QStringList{u"a9"_s, u"a10"_s, u"Cafè"_s, u"Notícies"_s, u"Sense categoria"_s}));
    QCOMPARE(categories.count(), 5);
    QCOMPARE(categories.data(categories.index(1), ChannelCategoriesModel::ChannelCountRole).toInt(), 2);
    QCOMPARE(categories.data(categories.index(0), ChannelCategoriesModel::NameRole).toString(), u"a9"_s);

    // Other channels: a new list of categories.
    f.model.setChannels({channel(u"x"_s, u"Z"_s), channel(u"y"_s, u"b"_s), channel(u"z"_s, u"Z"_s)}, otherSource);
    QCOMPARE(categories.names(), (QStringList{u"b"_s, u"Z"_s}));
    QCOMPARE(categories.data(categories.index(1), ChannelCategoriesModel::ChannelCountRole).toInt(), 2);
}

void ChannelListModelTest::favoritesBelongToTheirConnection()
{
    Fixture f;
    const QList<Channel> channels = sampleChannels();
    // "Música" is a favourite of another connection only; "Esports 1" of the active one.
    f.model.setFavorites(keysOf(channels, {u"Música"_s}, otherSource) +
                         keysOf(channels, {u"Esports 1"_s}, activeSource));
    f.model.setChannels(channels, activeSource);
    f.model.setFavoritesOnly(true);
    QCOMPARE(visibleNames(f.model), QStringList{u"Esports 1"_s});

    // The same channels loaded as the other connection: the other favourites, as they change.
    f.model.setChannels(channels, otherSource);
    QCOMPARE(visibleNames(f.model), QStringList{u"Música"_s});
    QSignalSpy counts(&f.model, &ChannelListModel::countChanged);
    f.model.setFavorites({channels[4].favoriteID(otherSource), channels[1].favoriteID(otherSource)});
    QCOMPARE(visibleNames(f.model), (QStringList {u"CAFETERIA 24"_s, u"Notícies 3/24"_s}));
    f.model.setFavorites({channels[4].favoriteID(otherSource)});
    QCOMPARE(visibleNames(f.model), QStringList {u"Notícies 3/24"_s});
    QCOMPARE(counts.size(), 2);

    // Keys that are not channel keys are ignored.
    f.model.setFavorites({otherSource.toString(QUuid::WithoutBraces).toUpper() + u":"_s + u"zz"_s.repeated(32),
                          channels[5].favoriteID(otherSource).toUpper(), channels[5].favoriteID(otherSource).toLower()});
    QCOMPARE(f.model.count(), 0);
}

void ChannelListModelTest::favoriteToggleUpdatesOneRow()
{
    Fixture f;
    const QList<Channel> channels = sampleChannels();
    f.model.setChannels(channels, activeSource);
    f.model.setSearch(u"c"_s); // Café TV, CAFETERIA 24, Cinema Clàssic, Notícies 3/24, Música, Canal Infantil
    QSignalSpy resets(&f.model, &QAbstractItemModel::modelReset);
    QSignalSpy changes(&f.model, &QAbstractItemModel::dataChanged);

    QSet<QString> favorites = {channels[3].favoriteID(activeSource)};
    f.model.setFavorites(favorites);
    QCOMPARE(resets.size(), 0);
    QCOMPARE(changes.size(), 1);
    QCOMPARE(changes[0][0].toModelIndex().row(), 2);
    QCOMPARE(changes[0][1].toModelIndex().row(), 2);
    QCOMPARE(changes[0][2].value<QList<int>>(), QList<int>{ChannelListModel::FavoriteRole});
    QCOMPARE(f.model.data(f.model.index(2), ChannelListModel::FavoriteRole).toBool(), true);
    QCOMPARE(f.model.data(f.model.index(1), ChannelListModel::FavoriteRole).toBool(), false);

    // A hidden channel ("Esports 1") toggled: nothing visible changes.
    favorites.insert(channels[2].favoriteID(activeSource));
    f.model.setFavorites(favorites);
    // Another connection's key: nothing changes either.
    favorites.insert(channels[0].favoriteID(otherSource));
    f.model.setFavorites(favorites);
    QCOMPARE(changes.size(), 1);

    // Toggled back off.
    favorites.remove(channels[3].favoriteID(activeSource));
    f.model.setFavorites(favorites);
    QCOMPARE(changes.size(), 2);
    QCOMPARE(changes[1][0].toModelIndex().row(), 2);
    QCOMPARE(f.model.data(f.model.index(2), ChannelListModel::FavoriteRole).toBool(), false);
    QCOMPARE(f.model.data(f.model.index(0), ChannelListModel::FavoriteRole).toBool(), false);
    QCOMPARE(resets.size(), 0);
}

void ChannelListModelTest::signalsOnlyOnChange()
{
    Fixture f;
    f.model.setSearch(u"cafe"_s);
    QSignalSpy resets(&f.model, &QAbstractItemModel::modelReset);
    f.model.setChannels(sampleChannels(), activeSource); // new channels keep the filters
    QCOMPARE(resets.size(), 1);
    QCOMPARE(f.model.count(), 2);
    f.model.setSearch(QString());
    resets.clear();
    QSignalSpy search(&f.model, &ChannelListModel::searchChanged);
    QSignalSpy category(&f.model, &ChannelListModel::categoryChanged);
    QSignalSpy favoritesOnly(&f.model, &ChannelListModel::favoritesOnlyChanged);
    QSignalSpy favorites(&f.model, &ChannelListModel::favoritesChanged);
    QSignalSpy count(&f.model, &ChannelListModel::countChanged);

    f.model.setSearch(u"cafe"_s);
    f.model.setSearch(u"cafe"_s);
    QCOMPARE(search.size(), 1);
    QCOMPARE(count.size(), 1);
    QCOMPARE(resets.size(), 1);
    // Another text with the same matches: the text changes, the rows do not.
    f.model.setSearch(u"CAFE"_s);
    QCOMPARE(search.size(), 2);
    QCOMPARE(count.size(), 1);
    QCOMPARE(resets.size(), 1);

    f.model.setCategory(u"a10"_s);
    f.model.setCategory(u"a10"_s);
    QCOMPARE(category.size(), 1);
    QCOMPARE(resets.size(), 2);
    QCOMPARE(count.size(), 2);
    f.model.setCategory(std::nullopt);
    f.model.setCategory(std::nullopt);
    QCOMPARE(category.size(), 2);

    f.model.setFavoritesOnly(false);
    QCOMPARE(favoritesOnly.size(), 0);
    f.model.setFavoritesOnly(true);
    f.model.setFavoritesOnly(true);
    QCOMPARE(favoritesOnly.size(), 1);

    f.model.setFavorites({});
    QCOMPARE(favorites.size(), 0);
    f.model.setFavorites({u"x"_s});
    f.model.setFavorites({u"x"_s});
    QCOMPARE(favorites.size(), 1);

    const qsizetype resetsBefore = resets.size();
    f.model.setChannels({}, activeSource);
    QCOMPARE(f.model.count(), 0);
    QCOMPARE(f.model.categories()->count(), 0);
    QCOMPARE(resets.size(), resetsBefore + 1);
}

void ChannelListModelTest::preparedElsewhere_data()
{
    QTest::addColumn<bool>("waitForFolding");
    QTest::addColumn<QStringList>("favoritesMeanwhile"); // empty: unchanged
    QTest::addColumn<bool>("replacedAtOnce");
    QTest::addColumn<QString>("search");
    QTest::addColumn<QStringList>("expected");
    QTest::addColumn<QStringList>("expectedFavorites");

    const QStringList cafe = {u"Café TV"_s, u"CAFETERIA 24"_s};
    QTest::newRow("search before the names are folded")
        << false << QStringList() << false << u"cafe"_s << cafe << QStringList{u"Música"_s};
    QTest::newRow("search once they are")
        << true << QStringList() << false << u"cafe"_s << cafe << QStringList{u"Música"_s};
    QTest::newRow("favourites changed while it was prepared")
        << true << QStringList{u"Esports 1"_s, u"Canal Infantil"_s} << false << u"cafe"_s << cafe
        << QStringList{u"Esports 1"_s, u"Canal Infantil"_s};
    QTest::newRow("another list before the first's names are in")
        << false << QStringList() << true << u"te"_s << QStringList{u"Telenotícies"_s, u"Cafè Teatre"_s}
        << QStringList();
}

void ChannelListModelTest::preparedElsewhere()
{
    // The library model prepares a list on the thread pool, then hands it over: the rows are there
    // at once, the names are folded afterwards, and the search finds the same whenever it comes.
    QFETCH(bool, waitForFolding);
    QFETCH(QStringList, favoritesMeanwhile);
    QFETCH(bool, replacedAtOnce);
    QFETCH(QString, search);
    QFETCH(QStringList, expected);
    QFETCH(QStringList, expectedFavorites);

    Fixture f;
    const QList<Channel> channels = sampleChannels();
    const QList<Channel> others = {channel(u"Telenotícies"_s, u"Notícies"_s), channel(u"Cafè Teatre"_s, u"Cultura"_s),
                                   channel(u"Ràdio"_s, u"Cultura"_s)};
    f.model.setFavorites(keysOf(channels, {u"Música"_s}, activeSource));
    const QSet<QString> favorites = f.model.favorites();
    auto first = std::async(std::launch::async,
                            [&] { return ChannelListModel::prepare(channels, favorites, activeSource); });
    auto second = std::async(std::launch::async,
                             [&] { return ChannelListModel::prepare(others, favorites, activeSource); });
    ChannelListModel::Prepared prepared = first.get();
    if (!favoritesMeanwhile.isEmpty())
        f.model.setFavorites(keysOf(channels, favoritesMeanwhile, activeSource));

    f.model.setPrepared(std::move(prepared), activeSource);
    QCOMPARE(f.model.count(), channels.size());
    QCOMPARE(f.model.categories()->count(), 5);
    const QList<Channel> &shown = replacedAtOnce ? others : channels;
    if (replacedAtOnce) {
        // The first list's names are folded, but that has not been told on this thread yet.
        QThreadPool::globalInstance()->waitForDone();
        f.model.setPrepared(second.get(), activeSource);
    }
    QCOMPARE(f.model.channels(), shown);
    QStringList favoriteNames;
    for (int row = 0; row < f.model.rowCount(); ++row) {
        if (f.model.data(f.model.index(row), ChannelListModel::FavoriteRole).toBool())
            favoriteNames.append(f.model.data(f.model.index(row), ChannelListModel::NameRole).toString());
    }
    QCOMPARE(favoriteNames, expectedFavorites);
    QCOMPARE(f.model.favoriteChannels().size(), expectedFavorites.size());

    if (waitForFolding)
        QTRY_VERIFY(f.model.namesFolded());
    f.model.setSearch(search);
    QCOMPARE(visibleNames(f.model), expected);
    // A folding still on its way changes nothing once it ends.
    QThreadPool::globalInstance()->waitForDone();
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
    QVERIFY(f.model.namesFolded());
    QCOMPARE(visibleNames(f.model), expected);
    f.model.setSearch(QString());
    QCOMPARE(f.model.count(), shown.size());
    f.model.setSearch(search);
    QCOMPARE(visibleNames(f.model), expected);
}

void ChannelListModelTest::roles()
{
    Fixture f;
    const QList<Channel> channels = {
        Channel(u"Amb capçaleres"_s, QString(), QUrl(u"https://127.0.0.1/a.m3u8"_s), true)};
    f.model.setChannels(channels, activeSource);
    const QModelIndex index = f.model.index(0);
    QCOMPARE(f.model.data(index, ChannelListModel::NameRole).toString(), u"Amb capçaleres"_s);
    QCOMPARE(f.model.data(index, ChannelListModel::GroupRole).toString(), u"Sense categoria"_s);
    QCOMPARE(f.model.data(index, ChannelListModel::ChannelIDRole).toString(), channels[0].id());
    QCOMPARE(f.model.data(index, ChannelListModel::URLRole).toString(), u"https://127.0.0.1/a.m3u8"_s);
    QCOMPARE(f.model.data(index, ChannelListModel::RequiresCustomHeadersRole).toBool(), true);
    QCOMPARE(f.model.data(index, ChannelListModel::FavoriteRole).toBool(), false);
}

QTEST_GUILESS_MAIN(ChannelListModelTest)
#include "tst_channel_list_model.moc"
