#include "records/JsonError.h"
#include "records/JsonWriter.h"
#include "records/PersonalList.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {
const QUuid sourceA = QUuid::fromString(u"0b0e1c2d-0000-4000-8000-00000000000a"_s);
const QUuid sourceB = QUuid::fromString(u"0b0e1c2d-0000-4000-8000-00000000000b"_s);

QByteArray compact(const PersonalList &list)
{
    JsonWriter writer;
    list.write(writer);
    return writer.take();
}

PersonalEntry live(const QString &name, const QString &url, const QUuid &source = sourceA,
                   const QString &group = u"Esports"_s)
{
    return PersonalEntry(source, Channel(name, group, QUrl(url), false));
}

PersonalEntry title(PersonalContentKind kind, const QString &id, const QString &category, const QString &name = {})
{
    return PersonalEntry(sourceA, kind, id, name.isEmpty() ? u"Títol "_s + id : name, category, u"2020"_s, u"7"_s,
                         u"mp4"_s);
}

QStringList names(const QList<PersonalEntry> &entries)
{
    QStringList result;
    for (const PersonalEntry &entry : entries)
        result.append(entry.name());
    return result;
}
} // namespace

class TestPersonalList : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void identities()
    {
        const PersonalEntry channel = live(u"Canal"_s, u"http://h/1"_s);
        QCOMPARE(channel.id(), u"0B0E1C2D-0000-4000-8000-00000000000A:live:"_s + channel.itemID());
        QCOMPARE(channel.categoryID(), u"Esports"_s);
        QVERIFY(!channel.catalogItem());

        const PersonalCategory category(sourceA, PersonalContentKind::movies, u"12"_s, u"Acció"_s);
        QCOMPARE(category.id(), u"0B0E1C2D-0000-4000-8000-00000000000A:movies:12"_s);

        const CatalogItem item{u"77"_s, CatalogKind::series, u"Sèrie"_s, u"5"_s, QUrl(u"http://h/p.jpg"_s),
                               u"2021"_s, u"8"_s, u"trama"_s, u"mkv"_s, 123};
        const PersonalEntry fromItem(sourceB, item);
        QCOMPARE(fromItem.kind(), PersonalContentKind::series);
        const CatalogItem back = *fromItem.catalogItem();
        QCOMPARE(back.id, u"77"_s);
        QCOMPARE(back.kind, CatalogKind::series);
        QCOMPARE(back.poster, std::nullopt);
        QCOMPARE(back.plot, QString());
        QCOMPARE(back.added, 0.0);
        QCOMPARE(back.fileExtension, u"mkv"_s);
    }

    void kinds()
    {
        QCOMPARE(PersonalContentKinds::title(PersonalContentKind::live), u"TV en directe"_s);
        QCOMPARE(PersonalContentKinds::symbol(PersonalContentKind::live), u"play.tv"_s);
        QCOMPARE(PersonalContentKinds::fromRawValue(u"movies"), PersonalContentKind::movies);
        QVERIFY(!PersonalContentKinds::fromRawValue(u"Live"));
        QCOMPARE(PersonalContentKinds::fromCatalogKind(CatalogKind::series), PersonalContentKind::series);
    }

    // A list as the user edits it: an entry added twice is kept once; removing it excludes it, adding it
    // again lifts the exclusion; a removed group member is hidden until the exclusions are restored; a
    // group is linked once and renamed by its own kind only; unlinking it keeps the entries.
    void editingAList()
    {
        PersonalList list(QUuid::createUuid(), u"Llista"_s);
        const PersonalEntry a = live(u"A"_s, u"http://h/a"_s);
        list.add({a, a});
        list.add({a});
        QCOMPARE(list.entries().size(), 1);
        list.remove(a);
        QVERIFY(list.entries().isEmpty());
        QVERIFY(list.excludedIDs().contains(a.id()));
        list.add({a});
        QCOMPARE(list.entries().size(), 1);
        QVERIFY(list.excludedIDs().isEmpty());

        const PersonalCategory sports(sourceA, PersonalContentKind::live, u"Esports"_s, u"Esports"_s);
        list.link(sports);
        list.link(sports);
        QCOMPARE(list.categories().size(), 1);
        const PersonalEntry member = live(u"Gol"_s, u"http://h/gol"_s);
        const QHash<QString, QList<PersonalEntry>> members {{sports.id(), {member}}};
        QCOMPARE(names(list.resolved(members)), (QStringList {u"A"_s, u"Gol"_s}));
        list.remove(member);
        QCOMPARE(list.entries().size(), 1);
        QCOMPARE(names(list.resolved(members)), QStringList {u"A"_s});
        list.restoreExcluded();
        QCOMPARE(names(list.resolved(members)), (QStringList {u"A"_s, u"Gol"_s}));

        list.updateCategory(PersonalCategory(sourceA, PersonalContentKind::live, u"Esports"_s, u"Futbol"_s));
        QCOMPARE(list.categories().first().name(), u"Futbol"_s);
        list.updateCategory(
            PersonalCategory(sourceA, PersonalContentKind::series, u"Esports"_s, u"Altres"_s));
        QCOMPARE(list.categories().size(), 1);
        QCOMPARE(list.categories().first().name(), u"Futbol"_s);

        list.remove(live(u"B"_s, u"http://h/b"_s));
        list.unlink(sports);
        QVERIFY(list.categories().isEmpty());
        QCOMPARE(list.entries().size(), 1);
        QCOMPARE(list.excludedIDs().size(), 1);
    }

    // What a list shows: its entries and its groups' members of the same connection and kind, a member
    // in place of the entry with the same address, sorted by name.
    void resolutionPrefersGroupMembersAndSorts()
    {
        PersonalList list(QUuid::createUuid(), u"Llista"_s);
        const PersonalEntry direct = live(u"Nom antic"_s, u"http://h/same"_s);
        list.add({live(u"Canal 10"_s, u"http://h/10"_s), direct, live(u"canal 2"_s, u"http://h/2"_s)});
        const PersonalCategory group(sourceA, PersonalContentKind::live, u"Esports"_s, u"Esports"_s);
        list.link(group);
        const QHash<QString, QList<PersonalEntry>> members {{group.id(),
            {live(u"Nom nou"_s, u"http://h/same"_s), live(u"Bo"_s, u"http://h/1"_s),
                live(u"Altra connexió"_s, u"http://h/2"_s, sourceB),
                title(PersonalContentKind::movies, u"3"_s, u"Esports"_s, u"Pel·lícula"_s)}}};
        QCOMPARE(names(list.resolved(members)),
            (QStringList {u"Bo"_s, u"canal 2"_s, u"Canal 10"_s, u"Nom nou"_s}));
        QCOMPARE(names(list.resolved({})), (QStringList {u"canal 2"_s, u"Canal 10"_s, u"Nom antic"_s}));
    }

    void equalNamesAreOrderedByID()
    {
        PersonalList list(QUuid::createUuid(), u"Llista"_s);
        const PersonalEntry one = live(u"Igual"_s, u"http://h/one"_s);
        const PersonalEntry two = live(u"Igual"_s, u"http://h/two"_s);
        list.add({one, two});
        const QList<PersonalEntry> resolved = list.resolved({});
        QCOMPARE(resolved.size(), 2);
        QVERIFY(resolved[0].id() < resolved[1].id());
        PersonalList reversed(QUuid::createUuid(), u"Llista"_s);
        reversed.add({two, one});
        QCOMPARE(reversed.resolved({}), resolved);
    }

    // Names as users and providers write them, through the compact writer and back, with a title's
    // year, rating and file type.
    void jsonTextsRoundTrip_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("quotes and backslash") << u"Cine \"Clàssic\" \\ HD"_s;
        QTest::newRow("control characters") << u"a\tb\nc\rd\u0001e\u001ff\bg\fh"_s;
        QTest::newRow("accents and apostrophe") << u"L’Hospitalet · Çàèíòú"_s;
        QTest::newRow("beyond the basic plane") << u"Esports 🏀⚽ 𝄞"_s;
        QTest::newRow("empty") << QString();
    }
    void jsonTextsRoundTrip()
    {
        QFETCH(QString, name);
        PersonalList list(QUuid::createUuid(), name);
        list.add({live(name, u"http://h/a"_s), title(PersonalContentKind::movies, u"1"_s, name, name)});
        list.link(PersonalCategory(sourceB, PersonalContentKind::series, name, name));
        list.remove(live(name, u"http://h/b"_s));

        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(compact(list), &error);
        QCOMPARE(error.error, QJsonParseError::NoError);
        const PersonalList back = PersonalList::fromJson(document.object());
        QCOMPARE(back.name(), name);
        QCOMPARE(back, list);
    }

    void jsonKeysInTheirStoredOrder()
    {
        PersonalList list(QUuid::fromString(u"9a8b7c6d-0000-4000-8000-000000000001"_s), u"L"_s);
        list.add({PersonalEntry(sourceA, PersonalContentKind::live, u"i"_s, u"A"_s, u"G"_s, {}, {}, {})});
        list.link(PersonalCategory(sourceA, PersonalContentKind::live, u"G"_s, u"G"_s));
        list.remove(PersonalEntry(sourceA, PersonalContentKind::live, u"j"_s, u"B"_s, u"G"_s, {}, {}, {}));
        QCOMPARE(compact(list),
            QByteArray(R"({"id":"9A8B7C6D-0000-4000-8000-000000000001","name":"L","entries":[{"sourceID":)"
                       R"("0B0E1C2D-0000-4000-8000-00000000000A","kind":"live","itemID":"i","name":"A",)"
                       R"("categoryID":"G","year":"","rating":"","fileExtension":""}],"categories":[{"sourceID":)"
                       R"("0B0E1C2D-0000-4000-8000-00000000000A","kind":"live","categoryID":"G","name":"G"}],)"
                       R"("excludedIDs":["0B0E1C2D-0000-4000-8000-00000000000A:live:j"]})"));
    }

    void jsonDecodingFailures_data()
    {
        QTest::addColumn<QString>("path"); // which object to damage
        QTest::addColumn<QString>("key");
        QTest::addColumn<QJsonValue>("value"); // undefined = remove the key
        QTest::newRow("list without name") << u"list"_s << u"name"_s << QJsonValue(QJsonValue::Undefined);
        QTest::newRow("list id malformed") << u"list"_s << u"id"_s << QJsonValue(u"nope"_s);
        QTest::newRow("excluded not strings") << u"list"_s << u"excludedIDs"_s << QJsonValue(QJsonArray{1});
        QTest::newRow("entries not an array") << u"list"_s << u"entries"_s << QJsonValue(QJsonObject());
        QTest::newRow("entry kind unknown") << u"entry"_s << u"kind"_s << QJsonValue(u"radio"_s);
        QTest::newRow("entry without year") << u"entry"_s << u"year"_s << QJsonValue(QJsonValue::Undefined);
        QTest::newRow("category source bad") << u"category"_s << u"sourceID"_s << QJsonValue(5);
        QTest::newRow("category without name") << u"category"_s << u"name"_s << QJsonValue(QJsonValue::Undefined);
    }
    void jsonDecodingFailures()
    {
        QFETCH(QString, path);
        QFETCH(QString, key);
        QFETCH(QJsonValue, value);
        PersonalList list(QUuid::createUuid(), u"L"_s);
        list.add({live(u"A"_s, u"http://h/a"_s)});
        list.link(PersonalCategory(sourceA, PersonalContentKind::live, u"G"_s, u"G"_s));
        QJsonObject json = list.toJson();
        const auto damage = [&](QJsonObject &object) {
            if (value.isUndefined())
                object.remove(key);
            else
                object.insert(key, value);
        };
        if (path == u"list"_s) {
            damage(json);
        } else {
            const QString arrayKey = path == u"entry"_s ? u"entries"_s : u"categories"_s;
            QJsonArray array = json.value(arrayKey).toArray();
            QJsonObject first = array.first().toObject();
            damage(first);
            array.replace(0, first);
            json.insert(arrayKey, array);
        }
        QVERIFY_THROWS_EXCEPTION(JsonError, PersonalList::fromJson(json));
    }
};

QTEST_GUILESS_MAIN(TestPersonalList)
#include "tst_personal_list.moc"
