// Stored values that cannot be read, under each key the stores own: the store starts empty, the
// unreadable bytes are kept under a dated backup key before anything replaces them (never over an
// earlier backup), and the next save writes a readable value in their place.

#include "StoreTestSupport.h"
#include "stores/CatalogFavorites.h"
#include "stores/PersonalLists.h"
#include "stores/StoredValueBackup.h"
#include "stores/WatchHistory.h"

#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {
enum class Store
{
    watchHistory,
    catalogFavorites,
    personalLists
};

const QUuid source = QUuid::fromString(u"0b0e1c2d-0000-4000-8000-00000000000a"_s);

QString keyOf(Store store)
{
    switch (store) {
    case Store::watchHistory:
        return WatchHistory::storageKey();
    case Store::catalogFavorites:
        return CatalogFavorites::storageKey();
    case Store::personalLists:
        return PersonalLists::storageKey();
    }
    return {};
}

const QByteArray notAsFound = "not empty, or written on opening";

// Opens the store, checks that it starts empty, changes it once and returns what it then holds. The
// history and the favourites only write when the user changes something: until then the unreadable
// value stays where it was, and no backup is made.
QByteArray openAndChange(Store store, QSettings &settings)
{
    const QStringList keys = settings.allKeys();
    const QVariant unreadable = settings.value(keyOf(store));
    const auto untouched
        = [&] { return settings.allKeys() == keys && settings.value(keyOf(store)) == unreadable; };
    switch (store) {
    case Store::watchHistory: {
        WatchHistory history(settings);
        if (!history.records().isEmpty() || !untouched())
            return notAsFound;
        history.update(WatchProgress::key(source, CatalogKind::movies, u"1"_s), 30, 100);
        return WatchHistory::encode(history.records());
    }
    case Store::catalogFavorites: {
        CatalogFavorites favorites(settings);
        if (!favorites.records().isEmpty() || !untouched())
            return notAsFound;
        favorites.toggle(
            source, CatalogItem {u"1"_s, CatalogKind::movies, u"Títol"_s, u"5"_s, {}, {}, {}, {}, {}, 0});
        return CatalogFavorites::encode(favorites.records());
    }
    case Store::personalLists: {
        PersonalLists lists(settings);
        if (!lists.lists().isEmpty())
            return notAsFound;
        lists.create(u"Esports"_s);
        return PersonalLists::encode(lists.lists());
    }
    }
    return {};
}

// Whether the store reads the value back as it was written.
bool readsBack(Store store, QSettings &settings, const QByteArray &expected)
{
    switch (store) {
    case Store::watchHistory:
        return WatchHistory(settings).records() == WatchHistory::decode(expected);
    case Store::catalogFavorites:
        return CatalogFavorites(settings).records() == CatalogFavorites::decode(expected);
    case Store::personalLists:
        return PersonalLists(settings).lists() == PersonalLists::decode(expected);
    }
    return false;
}

const QRegularExpression backupName(u"^(.+)\\.unreadable-(\\d{4}-\\d{2}-\\d{2})(-(\\d+))?$"_s);
} // namespace

Q_DECLARE_METATYPE(Store)

class TestUnreadablePreferences : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void unreadableValueIsKeptThenReplaced_data()
    {
        QTest::addColumn<Store>("store");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<bool>("earlierBackup");

        const QByteArray notJson = "{\"seconds\": 12, oops";
        const QByteArray binary("\xff\xfe\x00\x01 not text \x80", 15);
        QTest::newRow("history: not JSON") << Store::watchHistory << notJson << false;
        QTest::newRow("history: binary") << Store::watchHistory << binary << false;
        QTest::newRow("history: an array") << Store::watchHistory << QByteArray("[]") << false;
        QTest::newRow("history: a member without watched")
            << Store::watchHistory << QByteArray(R"({"A:movies:1":{"seconds":1,"duration":2}})") << false;
        QTest::newRow("history: earlier backup the same day") << Store::watchHistory << notJson << true;

        QTest::newRow("favourites: not JSON") << Store::catalogFavorites << notJson << false;
        QTest::newRow("favourites: an object") << Store::catalogFavorites << QByteArray("{}") << false;
        QTest::newRow("favourites: an invalid record")
            << Store::catalogFavorites << QByteArray(R"([{"sourceID":"nope","itemID":"1"}])") << false;

        QTest::newRow("lists: not JSON") << Store::personalLists << notJson << false;
        QTest::newRow("lists: binary") << Store::personalLists << binary << false;
        QTest::newRow("lists: an object") << Store::personalLists << QByteArray("{}") << false;
        QTest::newRow("lists: an invalid list")
            << Store::personalLists
            << QByteArray(R"([{"id":"not a uuid","name":"x","entries":[],"categories":[],"excludedIDs":[]}])")
            << false;
        QTest::newRow("lists: earlier backup the same day") << Store::personalLists << notJson << true;
    }

    void unreadableValueIsKeptThenReplaced()
    {
        QFETCH(Store, store);
        QFETCH(QByteArray, bytes);
        QFETCH(bool, earlierBackup);
        StoreTest::Preferences preferences;
        QSettings &settings = preferences.settings();
        const QString key = keyOf(store);
        const QDate dayBefore = QDate::currentDate();
        settings.setValue(key, bytes);
        const QString earlierKey = key + ".unreadable-"_L1 + dayBefore.toString(Qt::ISODate);
        const QByteArray earlierBytes = "what an earlier start kept";
        if (earlierBackup)
            settings.setValue(earlierKey, earlierBytes);
        preferences.restart();

        QTest::ignoreMessage(QtWarningMsg,
            QRegularExpression(u"could not be read; its %1 bytes are kept under"_s.arg(bytes.size())));
        const QByteArray written = openAndChange(store, preferences.settings());
        QVERIFY2(written != notAsFound, "the store must start empty and unwritten");
        const QDate dayAfter = QDate::currentDate();
        QCOMPARE(preferences.settings().value(key).toByteArray(), written);

        QStringList backups = StoredValueBackup::keys(preferences.settings(), key);
        if (earlierBackup) {
            QVERIFY(backups.removeOne(earlierKey));
            QCOMPARE(preferences.settings().value(earlierKey).toByteArray(), earlierBytes);
        }
        QCOMPARE(backups.size(), 1);
        const QRegularExpressionMatch name = backupName.match(backups.first());
        QVERIFY2(name.hasMatch(), qPrintable(backups.first()));
        QCOMPARE(name.captured(1), key);
        const QDate day = QDate::fromString(name.captured(2), Qt::ISODate);
        QVERIFY(day == dayBefore || day == dayAfter);
        if (earlierBackup && day == dayBefore)
            QCOMPARE(name.captured(4), u"2"_s);
        else
            QVERIFY(!name.hasCaptured(3));
        QCOMPARE(preferences.settings().value(backups.first()).toByteArray(), bytes);

        // The next start reads the new value and leaves the backups alone.
        preferences.restart();
        QVERIFY(readsBack(store, preferences.settings(), written));
        QCOMPARE(preferences.settings().value(backups.first()).toByteArray(), bytes);
        QCOMPARE(StoredValueBackup::keys(preferences.settings(), key).size(), earlierBackup ? 2 : 1);
    }

    void backupNamesNeverRepeat()
    {
        StoreTest::Preferences preferences;
        const QDate day(2026, 11, 23);
        const QString key = u"watchHistory.v1"_s;
        QStringList names;
        const QRegularExpression logged(u"could not be read; its 1 bytes are kept under"_s);
        for (int copy = 0; copy < 4; ++copy) {
            QTest::ignoreMessage(QtWarningMsg, logged);
            names.append(StoredValueBackup::keep(preferences.settings(), key, QByteArray::number(copy), day));
        }
        QCOMPARE(names,
            QStringList({u"watchHistory.v1.unreadable-2026-11-23"_s,
                u"watchHistory.v1.unreadable-2026-11-23-2"_s, u"watchHistory.v1.unreadable-2026-11-23-3"_s,
                u"watchHistory.v1.unreadable-2026-11-23-4"_s}));
        for (int copy = 0; copy < 4; ++copy)
            QCOMPARE(preferences.settings().value(names.at(copy)).toByteArray(), QByteArray::number(copy));
        QTest::ignoreMessage(
            QtWarningMsg, QRegularExpression(u"kept under \"watchHistory.v1.unreadable-2026-11-24\""_s));
        QCOMPARE(StoredValueBackup::keep(preferences.settings(), key, "next day", day.addDays(1)),
            u"watchHistory.v1.unreadable-2026-11-24"_s);
    }
};

QTEST_GUILESS_MAIN(TestUnreadablePreferences)
#include "tst_unreadable_preferences.moc"
