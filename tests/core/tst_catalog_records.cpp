#include "records/CatalogDetail.h"
#include "records/CatalogFavorite.h"
#include "records/JsonError.h"
#include "records/WatchProgress.h"

#include <QJsonDocument>
#include <QSet>
#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;

namespace {
const QUuid sourceID = QUuid::fromString(u"6a1f0c2e-9b1d-4c3e-8f00-0123456789e2"_s);

CatalogEpisode episode(const QString &id, qint64 season, qint64 number = 1)
{
    return CatalogEpisode{id, season, number, u"Episodi "_s + id, QString(), QString(), std::nullopt,
                          Channel(id, QString(), QUrl(u"http://h/series/u/p/"_s + id + u".mp4"_s), false)};
}

CatalogDetail seriesWith(const QList<CatalogEpisode> &episodes)
{
    CatalogDetail detail;
    detail.item = CatalogItem{u"9"_s, CatalogKind::series, u"S"_s, u"1"_s, std::nullopt, QString(), QString(),
                              QString(), u"mp4"_s, 0};
    detail.episodes = episodes;
    return detail;
}

CatalogItem movie()
{
    return CatalogItem{u"4711"_s, CatalogKind::movies, u"Pel·li"_s, u"12"_s, QUrl(u"http://h/p.jpg"_s), u"2024"_s,
                       u"7.5"_s, u"Una trama"_s, u"mkv"_s, 1700000000};
}
} // namespace

class TestCatalogRecords : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void catalogKind()
    {
        QCOMPARE(CatalogKinds::rawValue(CatalogKind::movies), u"movies"_s);
        QCOMPARE(CatalogKinds::title(CatalogKind::movies), u"Pel·lícules"_s);
        QCOMPARE(CatalogKinds::title(CatalogKind::series), u"Sèries"_s);
        QCOMPARE(CatalogKinds::symbol(CatalogKind::movies), u"film"_s);
        QCOMPARE(CatalogKinds::symbol(CatalogKind::series), u"tv"_s);
        QCOMPARE(CatalogKinds::allCases[0], CatalogKind::movies);
        QCOMPARE(CatalogKinds::fromRawValue(u"series"), CatalogKind::series);
        QVERIFY(!CatalogKinds::fromRawValue(u"Movies"));
        QVERIFY(!CatalogKinds::fromRawValue(u"tv"));
    }

    void itemEquality()
    {
        CatalogItem later = movie();
        later.added += 1;
        QVERIFY(!(later == movie()));
        QVERIFY(movie() == movie());
    }

    void seasons()
    {
        const CatalogDetail detail = seriesWith({episode(u"1"_s, 3), episode(u"2"_s, 1), episode(u"3"_s, 3),
                                                 episode(u"4"_s, 2)});
        QCOMPARE(detail.seasons(), (QList<qint64>{1, 2, 3}));
        QCOMPARE(seriesWith({}).seasons(), QList<qint64>());
    }

    void initialSeason_data()
    {
        QTest::addColumn<QList<qint64>>("episodeSeasons");
        QTest::addColumn<QSet<int>>("watchedEpisodes"); // positions in the list
        QTest::addColumn<qint64>("expected");           // -1 for none
        QTest::newRow("season 1 all watched") << QList<qint64>{1, 1, 2, 2} << QSet<int>{0, 1} << qint64(2);
        QTest::newRow("one left in season 1") << QList<qint64>{1, 1, 2, 2} << QSet<int>{0} << qint64(1);
        QTest::newRow("everything watched opens the last") << QList<qint64>{1, 2, 3} << QSet<int>{0, 1, 2} << qint64(3);
        QTest::newRow("nothing watched, unordered") << QList<qint64>{3, 0, 2} << QSet<int>{} << qint64(0);
        QTest::newRow("negative seasons") << QList<qint64>{-1, 4} << QSet<int>{0} << qint64(4);
        QTest::newRow("no episodes") << QList<qint64>{} << QSet<int>{} << qint64(-1);
    }
    void initialSeason()
    {
        QFETCH(QList<qint64>, episodeSeasons);
        QFETCH(QSet<int>, watchedEpisodes);
        QFETCH(qint64, expected);
        QList<CatalogEpisode> episodes;
        for (qsizetype i = 0; i < episodeSeasons.size(); ++i)
            episodes.append(episode(QString::number(i), episodeSeasons[i]));
        const CatalogDetail detail = seriesWith(episodes);
        QStringList asked;
        const auto result = detail.initialSeason([&](const CatalogEpisode &e) {
            asked.append(e.id);
            return watchedEpisodes.contains(e.id.toInt());
        });
        QCOMPARE(result.value_or(-1), expected);
        // Asked once per episode, in list order.
        QStringList order;
        for (const CatalogEpisode &e : episodes)
            order.append(e.id);
        QCOMPARE(asked, order);
    }

    void watchProgressUpdate_data()
    {
        const double inf = std::numeric_limits<double>::infinity();
        const double nan = std::numeric_limits<double>::quiet_NaN();
        QTest::addColumn<WatchProgress>("before");
        QTest::addColumn<double>("seconds");
        QTest::addColumn<double>("duration");
        QTest::addColumn<WatchProgress>("after");
        const WatchProgress start{50, 7200, false};
        QTest::newRow("zero duration ignored") << start << 100.0 << 0.0 << start;
        QTest::newRow("negative position ignored") << start << -1.0 << 7200.0 << start;
        QTest::newRow("infinite position ignored") << start << inf << 7200.0 << start;
        QTest::newRow("NaN position ignored") << start << nan << 7200.0 << start;
        QTest::newRow("infinite duration ignored") << start << 10.0 << inf << start;
        QTest::newRow("NaN duration ignored") << start << 10.0 << nan << start;
        QTest::newRow("past the end is capped and watched") << start << 7300.0 << 7200.0 << WatchProgress{7200, 7200, true};
        QTest::newRow("exactly 95 percent") << start << 6840.0 << 7200.0 << WatchProgress{6840, 7200, true};
        QTest::newRow("just under 95 percent") << start << 6839.0 << 7200.0 << WatchProgress{6839, 7200, false};
        QTest::newRow("watched stays watched") << WatchProgress{7000, 7200, true} << 30.0 << 7200.0
                                               << WatchProgress{30, 7200, true};
        QTest::newRow("zero position") << start << 0.0 << 100.0 << WatchProgress{0, 100, false};
    }
    void watchProgressUpdate()
    {
        QFETCH(WatchProgress, before);
        QFETCH(double, seconds);
        QFETCH(double, duration);
        QFETCH(WatchProgress, after);
        WatchProgress progress = before;
        progress.update(seconds, duration);
        QCOMPARE(progress, after);
    }

    // The share of a record read from disk, where nothing capped the position or checked the duration.
    void watchProgressFraction()
    {
        QCOMPARE((WatchProgress{50, 0, false}.fraction()), 0.0);
        QCOMPARE((WatchProgress{200, 100, false}.fraction()), 1.0);
        QCOMPARE((WatchProgress{25, 100, false}.fraction()), 0.25);
        QCOMPARE(WatchProgress(), (WatchProgress{0, 0, false}));
    }

    void watchProgressJson_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<bool>("valid");
        QTest::newRow("complete") << QByteArray(R"({"seconds":12.5,"duration":100,"watched":false})") << true;
        QTest::newRow("missing watched") << QByteArray(R"({"seconds":12.5,"duration":100})") << false;
        QTest::newRow("watched as number") << QByteArray(R"({"seconds":1,"duration":100,"watched":1})") << false;
        QTest::newRow("seconds as text") << QByteArray(R"({"seconds":"1","duration":100,"watched":true})") << false;
        QTest::newRow("null duration") << QByteArray(R"({"seconds":1,"duration":null,"watched":true})") << false;
    }
    void watchProgressJson()
    {
        QFETCH(QByteArray, json);
        QFETCH(bool, valid);
        const QJsonObject object = QJsonDocument::fromJson(json).object();
        if (!valid) {
            QVERIFY_THROWS_EXCEPTION(JsonError, WatchProgress::fromJson(object));
            return;
        }
        const WatchProgress progress = WatchProgress::fromJson(object);
        QCOMPARE(progress, (WatchProgress{12.5, 100, false}));
        QCOMPARE(WatchProgress::fromJson(progress.toJson()), progress);
    }

    void favoriteItemDropsPosterAndPlot()
    {
        const CatalogItem rebuilt = CatalogFavorite(sourceID, movie()).item();
        QCOMPARE(rebuilt.poster, std::nullopt);
        QCOMPARE(rebuilt.plot, QString());
        QCOMPARE(rebuilt.added, 0.0);
        QCOMPARE(rebuilt.id, u"4711"_s);
        QCOMPARE(rebuilt.fileExtension, u"mkv"_s);
        QCOMPARE(rebuilt.year, u"2024"_s);
    }

    void favoriteJson()
    {
        const CatalogFavorite favorite(sourceID, movie());
        const QJsonObject json = favorite.toJson();
        QCOMPARE(json.keys().size(), 8);
        QCOMPARE(json.value(u"kind"_s).toString(), u"movies"_s);
        QCOMPARE(CatalogFavorite::fromJson(json), favorite);

        QJsonObject withoutExtension = json;
        withoutExtension.remove(u"fileExtension"_s);
        QVERIFY_THROWS_EXCEPTION(JsonError, CatalogFavorite::fromJson(withoutExtension));
        QJsonObject unknownKind = json;
        unknownKind.insert(u"kind"_s, u"live"_s);
        QVERIFY_THROWS_EXCEPTION(JsonError, CatalogFavorite::fromJson(unknownKind));
    }
};

QTEST_GUILESS_MAIN(TestCatalogRecords)
#include "tst_catalog_records.moc"
