// The watch history on a preferences file of its own: what is stored and in which form, when a save
// happens (and when it does not), the watched mark, and what survives a restart.

#include "StoreTestSupport.h"
#include "stores/WatchHistory.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(WatchProgress)

namespace {
const QUuid source = QUuid::fromString(u"5f0c7a8e-1b2d-4c3e-9f40-123456789abc"_s);
const QString movie = WatchProgress::key(source, CatalogKind::movies, u"123"_s);
const QString episode = WatchProgress::key(source, CatalogKind::series, u"77"_s);

QByteArray storedBytes(QSettings &settings)
{
    return settings.value(WatchHistory::storageKey()).toByteArray();
}
} // namespace

class TestWatchHistory : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // A history from the first start: nothing stored and nothing written; the stored form, one compact
    // object of progress records; an equal update neither publishes nor saves; an unusable value
    // leaves a record alone, yet a new key gets its record either way (which values are usable is the
    // progress record's own rule); a restart keeps every record.
    void historyFromTheFirstStart()
    {
        StoreTest::Preferences preferences;
        QHash<QString, WatchProgress> written;
        {
            WatchHistory history(preferences.settings());
            QVERIFY(history.records().isEmpty());
            QVERIFY(preferences.settings().allKeys().isEmpty());

            QSignalSpy changed(&history, &WatchHistory::recordsChanged);
            history.update(movie, 1520.5, 6300);
            QCOMPARE(changed.count(), 1);
            QCOMPARE(movie, u"5F0C7A8E-1B2D-4C3E-9F40-123456789ABC:movies:123"_s);
            const QJsonDocument stored = QJsonDocument::fromJson(storedBytes(preferences.settings()));
            QVERIFY(stored.isObject());
            const QJsonObject expected {
                {movie, QJsonObject {{u"seconds"_s, 1520.5}, {u"duration"_s, 6300}, {u"watched"_s, false}}}};
            QCOMPARE(stored.object(), expected);
            // Compact: the encoder's default form, without formatting.
            QVERIFY(!storedBytes(preferences.settings()).contains('\n'));

            // A marker in place of the saved bytes shows whether the next update writes.
            preferences.settings().setValue(WatchHistory::storageKey(), QByteArrayLiteral("marker"));
            history.update(movie, 1520.5, 6300);
            QCOMPARE(changed.count(), 1);
            QCOMPARE(storedBytes(preferences.settings()), QByteArrayLiteral("marker"));
            history.update(movie, 1525, 6300);
            QCOMPARE(changed.count(), 2);
            QCOMPARE(history.record(movie)->seconds, 1525.0);
            QCOMPARE(WatchHistory::decode(storedBytes(preferences.settings())), history.records());

            const WatchProgress before = *history.record(movie);
            history.update(movie, qQNaN(), 100);
            QCOMPARE(*history.record(movie), before);
            history.update(episode, 10, 0);
            QCOMPARE(changed.count(), 3);
            QCOMPARE(*history.record(episode), WatchProgress {});
            QCOMPARE(
                WatchHistory::decode(storedBytes(preferences.settings())).value(episode), WatchProgress {});

            history.update(episode, 6200, 6300); // past 95 %: watched
            history.toggle(WatchProgress::key(source, CatalogKind::movies, u"9"_s));
            written = history.records();
        }
        QCOMPARE(written.size(), 3);
        QVERIFY(written.value(episode).watched);
        preferences.restart();
        QCOMPARE(WatchHistory(preferences.settings()).records(), written);
    }

    void toggle_data()
    {
        QTest::addColumn<std::optional<WatchProgress>>("start");
        QTest::addColumn<WatchProgress>("first");
        QTest::addColumn<WatchProgress>("second");
        QTest::newRow("unknown key") << std::optional<WatchProgress>() << WatchProgress {0, 0, true}
                                     << WatchProgress {0, 0, false};
        QTest::newRow("part seen") << std::optional(WatchProgress {1200, 7200, false})
                                   << WatchProgress {1200, 7200, true} << WatchProgress {0, 7200, false};
        QTest::newRow("seen to the end") << std::optional(WatchProgress {7000, 7200, true})
                                         << WatchProgress {0, 7200, false} << WatchProgress {0, 7200, true};
    }

    void toggle()
    {
        QFETCH(std::optional<WatchProgress>, start);
        QFETCH(WatchProgress, first);
        QFETCH(WatchProgress, second);
        StoreTest::Preferences preferences;
        if (start)
            preferences.settings().setValue(
                WatchHistory::storageKey(), WatchHistory::encode({{movie, *start}}));
        WatchHistory history(preferences.settings());
        QSignalSpy changed(&history, &WatchHistory::recordsChanged);

        history.toggle(movie);
        QCOMPARE(*history.record(movie), first);
        QCOMPARE(WatchHistory::decode(storedBytes(preferences.settings())).value(movie), first);
        history.toggle(movie);
        QCOMPARE(*history.record(movie), second);
        QCOMPARE(WatchHistory::decode(storedBytes(preferences.settings())).value(movie), second);
        QCOMPARE(changed.count(), 2);
    }
};

QTEST_GUILESS_MAIN(TestWatchHistory)
#include "tst_watch_history.moc"
