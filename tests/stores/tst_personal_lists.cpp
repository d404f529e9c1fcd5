// The personal lists store on a preferences file of its own: start-up from either stored format
// with the conversion of single movie and series entries into linked groups, the rule for list
// names, and the edits the views make. Refreshing from a provider is in tst_personal_lists_refresh.

#include "StoreTestSupport.h"
#include "Texts.h"
#include "stores/PersonalLists.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {
const QUuid sourceA = QUuid::fromString(u"0b0e1c2d-0000-4000-8000-00000000000a"_s);
const QUuid listID = QUuid::fromString(u"9a8b7c6d-0000-4000-8000-000000000001"_s);

PersonalEntry channel(const QString &name, int number, const QString &group = u"Esports"_s)
{
    return PersonalEntry(
        sourceA, Channel(name, group, QUrl(u"http://127.0.0.1/live/%1.ts"_s.arg(number)), false));
}

PersonalEntry title(PersonalContentKind kind, const QString &id, const QString &category)
{
    return PersonalEntry(sourceA, kind, id, u"Títol "_s + id, category, u"2021"_s, u"7"_s, u"mp4"_s);
}

// What the store has written by now: its saves are written on a thread of their own.
QByteArray storedBytes(PersonalLists &lists, QSettings &settings)
{
    lists.waitForSave();
    return settings.value(PersonalLists::storageKey()).toByteArray();
}

// Puts a value in place that only another save of the store replaces.
void mark(PersonalLists &lists, QSettings &settings)
{
    lists.waitForSave();
    settings.setValue(PersonalLists::storageKey(), QByteArray("marker"));
}

// What the first version of the format stored: single movie and series entries, no linked groups.
QByteArray firstFormat()
{
    PersonalList list(listID, u"Per veure"_s);
    list.add({channel(u"Canal 1"_s, 1), title(PersonalContentKind::movies, u"101"_s, u"12"_s),
        title(PersonalContentKind::movies, u"102"_s, u"12"_s),
        title(PersonalContentKind::series, u"7001"_s, u"7"_s)});
    list.remove(title(PersonalContentKind::movies, u"103"_s, u"12"_s));
    list.remove(channel(u"Canal 9"_s, 9));
    QJsonArray array {list.toJson()};
    return QJsonDocument(array).toJson(QJsonDocument::Indented); // its own formatting, kept as it was
}

QString nameOf(const QString &base, int count)
{
    return base.repeated(count);
}
} // namespace

class TestPersonalLists : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void firstStartSavesAnEmptyList()
    {
        StoreTest::Preferences preferences;
        PersonalLists lists(preferences.settings());
        QVERIFY(lists.lists().isEmpty());
        QVERIFY(lists.categoryEntries().isEmpty());
        QVERIFY(!lists.refreshID().isNull());
        QCOMPARE(storedBytes(lists, preferences.settings()), QByteArray("[]"));
        QVERIFY(!preferences.settings().contains(PersonalLists::firstFormatKey()));

        // The refresh identifier is published only when it changes.
        QSignalSpy changed(&lists, &PersonalLists::refreshIDChanged);
        const QUuid next = QUuid::createUuid();
        lists.setRefreshID(next);
        lists.setRefreshID(next);
        QCOMPARE(lists.refreshID(), next);
        QCOMPARE(changed.count(), 1);
    }

    void firstFormatIsConvertedAndKept()
    {
        StoreTest::Preferences preferences;
        const QByteArray v1 = firstFormat();
        preferences.settings().setValue(PersonalLists::firstFormatKey(), v1);
        preferences.restart();

        PersonalLists lists(preferences.settings());
        QCOMPARE(lists.lists().size(), 1);
        const PersonalList &list = lists.lists().first();
        QCOMPARE(list.id(), listID);
        QCOMPARE(list.name(), u"Per veure"_s);
        QCOMPARE(list.entries(), QList<PersonalEntry>({channel(u"Canal 1"_s, 1)}));
        QCOMPARE(list.categories(),
            QList<PersonalCategory>({PersonalCategory(sourceA, PersonalContentKind::movies, u"12"_s,
                                         u"Categoria de pel·lícules · 12"_s),
                PersonalCategory(
                    sourceA, PersonalContentKind::series, u"7"_s, u"Categoria de sèries · 7"_s)}));
        QCOMPARE(list.excludedIDs(), QSet<QString>({channel(u"Canal 9"_s, 9).id()}));

        QCOMPARE(storedBytes(lists, preferences.settings()), PersonalLists::encode(lists.lists()));
        QCOMPARE(preferences.settings().value(PersonalLists::firstFormatKey()).toByteArray(), v1);

        // From then on the current format is read, even with the first one still there, and the first
        // one is left alone.
        lists.rename(listID, u"Vist"_s);
        lists.waitForSave(); // as the store's destruction at quit does
        preferences.restart();
        PersonalLists again(preferences.settings());
        QCOMPARE(again.lists().first().name(), u"Vist"_s);
        QCOMPARE(preferences.settings().value(PersonalLists::firstFormatKey()).toByteArray(), v1);
    }

    void nameRule_data()
    {
        QTest::addColumn<QStringList>("existing");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("expected"); // the stored name, or the error's text

        const QString accented = u"e\u0301"_s; // one letter and a combining accent: one character
        QTest::newRow("trimmed") << QStringList() << u"  Esports  "_s << u"Esports"_s;
        QTest::newRow("line breaks and tabs") << QStringList() << u"\n\tCinema\r\n"_s << u"Cinema"_s;
        QTest::newRow("80 with combining accents")
            << QStringList() << nameOf(accented, 80) << nameOf(accented, 80);
        QTest::newRow("81 with combining accents")
            << QStringList() << nameOf(accented, 81) << Texts::listNameLength;
        QTest::newRow("80 and spaces around")
            << QStringList() << u"  "_s + nameOf(u"é"_s, 80) + u" "_s << nameOf(u"é"_s, 80);
        QTest::newRow("81 plain") << QStringList() << nameOf(u"a"_s, 81) << Texts::listNameLength;
        QTest::newRow("80 with a flag")
            << QStringList() << nameOf(u"a"_s, 79) + u"🇦🇩"_s << nameOf(u"a"_s, 79) + u"🇦🇩"_s;
        QTest::newRow("only spaces") << QStringList() << u"     "_s << Texts::listNameLength;
        QTest::newRow("only no-break and em spaces")
            << QStringList() << u"\u00a0\u2003"_s << Texts::listNameLength;
        QTest::newRow("empty") << QStringList() << QString() << Texts::listNameLength;
        QTest::newRow("same name") << QStringList({u"Esports"_s}) << u"Esports"_s << Texts::takenListName;
        QTest::newRow("other letter case")
            << QStringList({u"Esports"_s}) << u"  eSPORTS "_s << Texts::takenListName;
        QTest::newRow("accented capitals")
            << QStringList({u"Música"_s}) << u"MÚSICA"_s << Texts::takenListName;
        QTest::newRow("combining accent")
            << QStringList({u"Música"_s}) << u"Mu\u0301sica"_s << Texts::takenListName;
        QTest::newRow("numbers by value")
            << QStringList({u"Canal 2"_s}) << u"Canal 02"_s << Texts::takenListName;
        QTest::newRow("accent missing") << QStringList({u"Música"_s}) << u"Musica"_s << u"Musica"_s;
        QTest::newRow("another name")
            << QStringList({u"Esports"_s, u"Cinema"_s}) << u"Esports 2"_s << u"Esports 2"_s;
    }

    void nameRule()
    {
        QFETCH(QStringList, existing);
        QFETCH(QString, name);
        QFETCH(QString, expected);
        StoreTest::Preferences preferences;
        PersonalLists lists(preferences.settings());
        for (const QString &other : std::as_const(existing))
            lists.create(other);
        const QByteArray before = storedBytes(lists, preferences.settings());
        const QList<PersonalList> listsBefore = lists.lists();

        QString outcome;
        QUuid created;
        try {
            created = lists.create(name);
            outcome = lists.list(created)->name();
        } catch (const IPTVError &error) {
            outcome = error.message();
        }
        QCOMPARE(outcome, expected);
        if (created.isNull()) {
            QCOMPARE(lists.lists(), listsBefore);
            QCOMPARE(storedBytes(lists, preferences.settings()), before);
        } else {
            QCOMPARE(lists.lists().last().id(), created);
            QVERIFY(lists.lists().last().entries().isEmpty());
            QCOMPARE(PersonalLists::decode(storedBytes(lists, preferences.settings())), lists.lists());
        }
    }

    void renameExcludesTheListItself()
    {
        StoreTest::Preferences preferences;
        PersonalLists lists(preferences.settings());
        const QUuid sports = lists.create(u"Esports"_s);
        lists.create(u"Cinema"_s);

        lists.rename(sports, u" esports "_s);
        QCOMPARE(lists.list(sports)->name(), u"esports"_s);
        QCOMPARE(PersonalLists::decode(storedBytes(lists, preferences.settings())).first().name(), u"esports"_s);

        QSignalSpy changed(&lists, &PersonalLists::listsChanged);
        try {
            lists.rename(sports, u"CINEMA"_s);
            QFAIL("a name taken by another list must be refused");
        } catch (const IPTVError &error) {
            QCOMPARE(error.message(), Texts::takenListName);
        }
        QCOMPARE(lists.list(sports)->name(), u"esports"_s);
        QCOMPARE(changed.count(), 0);

        // A list that does not exist: nothing changes, nothing is saved.
        mark(lists, preferences.settings());
        lists.rename(QUuid::createUuid(), u"Nou"_s);
        QCOMPARE(storedBytes(lists, preferences.settings()), QByteArray("marker"));
        QCOMPARE(changed.count(), 0);

        // Of quick renames, the newest is written.
        for (int i = 1; i <= 40; ++i)
            lists.rename(sports, u"Nom %1"_s.arg(i));
        QCOMPARE(PersonalLists::decode(storedBytes(lists, preferences.settings())).first().name(), u"Nom 40"_s);
        preferences.restart();
        QCOMPARE(PersonalLists(preferences.settings()).lists().first().name(), u"Nom 40"_s);
    }

    // A list's edits: adding takes live entries and catalogue groups, and ignores the rest; removing an
    // entry excludes it; unlinking a group and deleting the list are saved.
    void editingAList()
    {
        StoreTest::Preferences preferences;
        PersonalLists lists(preferences.settings());
        const QUuid id = lists.create(u"Barreja"_s);
        const QUuid other = lists.create(u"Una altra"_s);
        const PersonalCategory movies(sourceA, PersonalContentKind::movies, u"5"_s, u"Acció"_s);
        const PersonalCategory liveGroup(sourceA, PersonalContentKind::live, u"Esports"_s, u"Esports"_s);

        lists.add({channel(u"Canal 1"_s, 1), title(PersonalContentKind::movies, u"9"_s, u"5"_s)},
            {liveGroup, movies}, id);
        QCOMPARE(lists.list(id)->entries(), QList<PersonalEntry>({channel(u"Canal 1"_s, 1)}));
        QCOMPARE(lists.list(id)->categories(), QList<PersonalCategory>({movies}));
        QCOMPARE(PersonalLists::decode(storedBytes(lists, preferences.settings())), lists.lists());

        // Only things that are ignored: nothing changes, but the list is still saved.
        mark(lists, preferences.settings());
        QSignalSpy changed(&lists, &PersonalLists::listsChanged);
        lists.add({title(PersonalContentKind::series, u"3"_s, u"7"_s)}, {liveGroup}, id);
        QCOMPARE(changed.count(), 0);
        QCOMPARE(storedBytes(lists, preferences.settings()), PersonalLists::encode(lists.lists()));

        // No such list: nothing is saved.
        mark(lists, preferences.settings());
        lists.add({channel(u"Canal 2"_s, 2)}, {}, QUuid::createUuid());
        QCOMPARE(storedBytes(lists, preferences.settings()), QByteArray("marker"));

        lists.add({channel(u"Canal 2"_s, 2)}, {}, id);
        lists.remove(channel(u"Canal 1"_s, 1), id);
        QCOMPARE(lists.list(id)->entries(), QList<PersonalEntry>({channel(u"Canal 2"_s, 2)}));
        QVERIFY(lists.list(id)->excludedIDs().contains(channel(u"Canal 1"_s, 1).id()));
        lists.unlink(movies, id);
        QVERIFY(lists.list(id)->categories().isEmpty());
        QCOMPARE(PersonalLists::decode(storedBytes(lists, preferences.settings())), lists.lists());

        lists.deleteList(id);
        QVERIFY(!lists.list(id));
        QCOMPARE(lists.lists().size(), 1);
        QCOMPARE(lists.lists().first().id(), other);
        QCOMPARE(PersonalLists::decode(storedBytes(lists, preferences.settings())), lists.lists());
        QVERIFY(!lists.list(QUuid()));
    }

    void listsSurviveARestartAndKindsDoNot()
    {
        StoreTest::Preferences preferences;
        QList<PersonalList> written;
        QUuid id;
        {
            PersonalLists lists(preferences.settings());
            id = lists.create(u"Esports"_s);
            lists.add({channel(u"Canal 1"_s, 1)},
                {PersonalCategory(sourceA, PersonalContentKind::series, u"4"_s, u"Drama"_s)}, id);
            lists.setSelectedKind(id, PersonalContentKind::series);
            QCOMPARE(lists.selectedKind(id), PersonalContentKind::series);
            written = lists.lists();
        }
        preferences.restart();
        PersonalLists lists(preferences.settings());
        QCOMPARE(lists.lists(), written);
        QVERIFY(!lists.selectedKind(id));
    }
};

QTEST_GUILESS_MAIN(TestPersonalLists)
#include "tst_personal_lists.moc"
