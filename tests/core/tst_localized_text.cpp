#include "text/LocalizedText.h"

#include <QTest>

#include <algorithm>

using namespace Qt::StringLiterals;

class TestLocalizedText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void ordering_data()
    {
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("second");
        QTest::newRow("digits by value") << u"a9"_s << u"a10"_s;
        QTest::newRow("channel numbers") << u"Canal 2"_s << u"Canal 10"_s;
        QTest::newRow("letter case ignored before digits") << u"canal 2"_s << u"CANAL 10"_s;
        QTest::newRow("accented letter sorts with its base") << u"Èpica"_s << u"Fosc"_s;
        QTest::newRow("alphabetical") << u"Abc"_s << u"abd"_s;
        QTest::newRow("an accented capital first") << u"Àrea"_s << u"canal 1"_s;
        QTest::newRow("numbers before later letters") << u"Canal 10"_s << u"zeta"_s;
    }
    void ordering()
    {
        QFETCH(QString, first);
        QFETCH(QString, second);
        QVERIFY2(LocalizedText::compare(first, second) < 0, qPrintable(first + u" < "_s + second));
        QVERIFY(LocalizedText::compare(second, first) > 0);
        QVERIFY(LocalizedText::sortKey(first).compare(LocalizedText::sortKey(second)) < 0);
        QVERIFY(LocalizedText::lessThan(first, second));
        QVERIFY(!LocalizedText::lessThan(second, first));
    }

    void caseOnlyDifferencesCompareEqual()
    {
        QCOMPARE(LocalizedText::compare(u"Canal Ú", u"canal ú"), 0);
    }

    void containment_data()
    {
        QTest::addColumn<QString>("haystack");
        QTest::addColumn<QString>("needle");
        QTest::addColumn<bool>("contains");
        QTest::newRow("diacritics ignored") << u"Café del Món"_s << u"cafe"_s << true;
        QTest::newRow("accented needle") << u"Telé Première"_s << u"TELE PREM"_s << true;
        QTest::newRow("case ignored") << u"ESPORTS 3"_s << u"esports"_s << true;
        QTest::newRow("cedilla") << u"Plaça"_s << u"placa"_s << true;
        QTest::newRow("middle dot kept") << u"Pel·lícules"_s << u"pel·li"_s << true;
        QTest::newRow("fullwidth letters") << u"ＣＮＮ Ｉｎｔ"_s << u"cnn"_s << true;
        QTest::newRow("cyrillic") << u"Первый канал"_s << u"КАНАЛ"_s << true;
        QTest::newRow("every capital letter") << u"ABCDEFGHIJKLMNOPQRSTUVWXYZ"_s << u"abcdefghijklmnopqrstuvwxyz"_s << true;
        QTest::newRow("every small letter") << u"abcdefghijklmnopqrstuvwxyz"_s << u"ABCDEFGHIJKLMNOPQRSTUVWXYZ"_s << true;
        QTest::newRow("not there") << u"Notícies"_s << u"esports"_s << false;
        QTest::newRow("empty needle matches nothing") << u"Notícies"_s << QString() << false;
        QTest::newRow("needle longer") << u"TV"_s << u"TV3"_s << false;
    }
    void containment()
    {
        QFETCH(QString, haystack);
        QFETCH(QString, needle);
        QFETCH(bool, contains);
        QCOMPARE(LocalizedText::contains(haystack, needle), contains);
    }

    void foldedNameIndex()
    {
        FoldedNameIndex index;
        const QStringList names{u"Café TV"_s, u"Esports 3"_s, u"CAFE cafe"_s, u""_s, u"Música"_s, u"tv3 cat"_s};
        for (const QString &name : names)
            index.append(name);
        QCOMPARE(index.size(), names.size());
        QCOMPARE(index.rowsMatching(u"cafe"), (QList<qsizetype>{0, 2}));
        QCOMPARE(index.rowsMatching(u"TV"), (QList<qsizetype>{0, 5}));
        QCOMPARE(index.rowsMatching(u"musica"), (QList<qsizetype>{4}));
        QCOMPARE(index.rowsMatching(u"3"), (QList<qsizetype>{1, 5}));
        QCOMPARE(index.rowsMatching(u"zzz"), QList<qsizetype>());
        QCOMPARE(index.rowsMatching(u""), QList<qsizetype>());
        // A query never matches across two names.
        QCOMPARE(index.rowsMatching(u"tvesports"), QList<qsizetype>());
        QCOMPARE(index.rowsMatching(u"3cat"), QList<qsizetype>());
        QVERIFY(index.rowMatches(2, LocalizedText::folded(u"Cafe")));
        QVERIFY(!index.rowMatches(1, LocalizedText::folded(u"Cafe")));

        QCOMPARE(index.rowsMatching(u"a"), (QList<qsizetype>{0, 2, 4, 5}));
        QCOMPARE(index.rowsMatching(u"E"), (QList<qsizetype>{0, 1, 2}));
        QCOMPARE(index.rowsMatching(u"s 3"), (QList<qsizetype>{1}));
        index.clear();
        QCOMPARE(index.size(), 0);
    }
};

QTEST_GUILESS_MAIN(TestLocalizedText)
#include "tst_localized_text.moc"
