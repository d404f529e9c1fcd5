// The catalogue favourites on a preferences file of their own: toggling, the connection that is
// removed, the posters kept in memory only, and the stored form.

#include "StoreTestSupport.h"
#include "stores/CatalogFavorites.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {
const QUuid sourceA = QUuid::fromString(u"0b0e1c2d-0000-4000-8000-00000000000a"_s);
const QUuid sourceB = QUuid::fromString(u"0b0e1c2d-0000-4000-8000-00000000000b"_s);

CatalogItem title(const QString &id, CatalogKind kind = CatalogKind::movies, std::optional<QUrl> poster = {})
{
    return CatalogItem {id, kind, u"Títol "_s + id, u"5"_s, std::move(poster), u"2020"_s, u"7.5"_s,
        u"Una trama"_s, u"mkv"_s, 1700000000};
}

QByteArray storedBytes(QSettings &settings)
{
    return settings.value(CatalogFavorites::storageKey()).toByteArray();
}

QStringList idsOf(const QList<CatalogFavorite> &records)
{
    QStringList ids;
    for (const CatalogFavorite &record : records)
        ids.append(record.id());
    return ids;
}
} // namespace

class TestCatalogFavorites : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Favourites from the first start, as a user makes them: none at first; a title without a
    // connection changes nothing; toggling appends a title, then removes it and restores the stored
    // bytes; the stored form is a compact array of the records; a restart keeps them, without posters.
    void favoritesFromTheFirstStart()
    {
        StoreTest::Preferences preferences;
        QList<CatalogFavorite> written;
        {
            CatalogFavorites favorites(preferences.settings());
            QVERIFY(favorites.records().isEmpty());
            QVERIFY(favorites.artwork().isEmpty());
            QVERIFY(preferences.settings().allKeys().isEmpty());

            QSignalSpy changed(&favorites, &CatalogFavorites::recordsChanged);
            favorites.toggle(QUuid(), title(u"1"_s));
            QVERIFY(favorites.records().isEmpty());
            QVERIFY(!favorites.contains(QUuid(), title(u"1"_s)));
            QCOMPARE(changed.count(), 0);
            QVERIFY(!preferences.settings().contains(CatalogFavorites::storageKey()));

            favorites.toggle(sourceA, title(u"1"_s));
            const QByteArray before = storedBytes(preferences.settings());
            const QList<CatalogFavorite> beforeRecords = favorites.records();
            const CatalogItem item = title(u"2"_s, CatalogKind::series, QUrl(u"http://127.0.0.1/p2.jpg"_s));
            favorites.toggle(sourceA, item);
            QVERIFY(favorites.contains(sourceA, item));
            QCOMPARE(idsOf(favorites.records()),
                QStringList({u"0B0E1C2D-0000-4000-8000-00000000000A:movies:1"_s,
                    u"0B0E1C2D-0000-4000-8000-00000000000A:series:2"_s}));
            QCOMPARE(favorites.poster(favorites.records().last().id()), QUrl(u"http://127.0.0.1/p2.jpg"_s));
            const QJsonDocument stored = QJsonDocument::fromJson(storedBytes(preferences.settings()));
            QVERIFY(stored.isArray());
            QCOMPARE(stored.array(),
                QJsonArray({favorites.records().at(0).toJson(), favorites.records().at(1).toJson()}));
            QVERIFY(!storedBytes(preferences.settings()).contains('\n'));
            QCOMPARE(CatalogFavorites::decode(storedBytes(preferences.settings())), favorites.records());

            favorites.toggle(sourceA, item);
            QVERIFY(!favorites.contains(sourceA, item));
            QCOMPARE(favorites.records(), beforeRecords);
            QCOMPARE(storedBytes(preferences.settings()), before);
            QVERIFY(!favorites.poster(u"0B0E1C2D-0000-4000-8000-00000000000A:series:2"_s));
            QCOMPARE(changed.count(), 3);

            favorites.toggle(sourceB, title(u"4"_s, CatalogKind::series, QUrl(u"http://127.0.0.1/4.jpg"_s)));
            written = favorites.records();
            QCOMPARE(favorites.artwork().size(), 1);
        }
        preferences.restart();
        CatalogFavorites favorites(preferences.settings());
        QCOMPARE(favorites.records(), written);
        QVERIFY(favorites.artwork().isEmpty());
    }

    void containsMatchesConnectionKindAndTitle_data()
    {
        QTest::addColumn<QUuid>("source");
        QTest::addColumn<QString>("id");
        QTest::addColumn<CatalogKind>("kind");
        QTest::addColumn<bool>("expected");
        QTest::newRow("same") << sourceA << u"1"_s << CatalogKind::movies << true;
        QTest::newRow("other connection") << sourceB << u"1"_s << CatalogKind::movies << false;
        QTest::newRow("other kind") << sourceA << u"1"_s << CatalogKind::series << false;
        QTest::newRow("other title") << sourceA << u"10"_s << CatalogKind::movies << false;
        QTest::newRow("no connection") << QUuid() << u"1"_s << CatalogKind::movies << false;
    }

    void containsMatchesConnectionKindAndTitle()
    {
        QFETCH(QUuid, source);
        QFETCH(QString, id);
        QFETCH(CatalogKind, kind);
        QFETCH(bool, expected);
        StoreTest::Preferences preferences;
        CatalogFavorites favorites(preferences.settings());
        favorites.toggle(sourceA, title(u"1"_s));
        QCOMPARE(favorites.contains(source, title(id, kind)), expected);
    }

    // Posters are kept in memory for the favourites in the list only, and never saved; removing a
    // connection drops its favourites with their posters and keeps the others.
    void postersAndARemovedConnection()
    {
        StoreTest::Preferences preferences;
        CatalogFavorites favorites(preferences.settings());
        favorites.toggle(sourceA, title(u"1"_s));
        favorites.toggle(sourceB, title(u"1"_s, CatalogKind::movies, QUrl(u"http://127.0.0.1/b1.jpg"_s)));
        favorites.toggle(sourceA, title(u"2"_s, CatalogKind::series, QUrl(u"http://127.0.0.1/a2.jpg"_s)));
        const CatalogFavorite kept = favorites.records().first();
        const CatalogFavorite gone(sourceA, title(u"3"_s));
        const QByteArray stored = storedBytes(preferences.settings());

        QSignalSpy artwork(&favorites, &CatalogFavorites::artworkChanged);
        favorites.cachePoster(QUrl(u"http://127.0.0.1/gone.jpg"_s), gone);
        QCOMPARE(favorites.artwork().size(), 2);
        QCOMPARE(artwork.count(), 0);
        favorites.cachePoster(QUrl(u"http://127.0.0.1/kept.jpg"_s), kept);
        QCOMPARE(favorites.poster(kept.id()), QUrl(u"http://127.0.0.1/kept.jpg"_s));
        favorites.cachePoster(std::nullopt, kept);
        QVERIFY(!favorites.poster(kept.id()));
        QCOMPARE(artwork.count(), 2);
        QCOMPARE(storedBytes(preferences.settings()), stored);

        QSignalSpy changed(&favorites, &CatalogFavorites::recordsChanged);
        favorites.remove(sourceA);
        QCOMPARE(
            idsOf(favorites.records()), QStringList({u"0B0E1C2D-0000-4000-8000-00000000000B:movies:1"_s}));
        QCOMPARE(favorites.artwork(),
            (QHash<QString, QUrl> {
                {u"0B0E1C2D-0000-4000-8000-00000000000B:movies:1"_s, QUrl(u"http://127.0.0.1/b1.jpg"_s)}}));
        QCOMPARE(CatalogFavorites::decode(storedBytes(preferences.settings())), favorites.records());
        QCOMPARE(changed.count(), 1);
    }
};

QTEST_GUILESS_MAIN(TestCatalogFavorites)
#include "tst_catalog_favorites.moc"
