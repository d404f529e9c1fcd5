// XmltvParser on guides written here and on the real guides of the shared fixtures: what a person
// would see of each programme (times, texts), the window, repairs (missing stops, repeats, order),
// and what happens to input that is not a guide, cut short, compressed, or hostile.

#include "Fixtures.h"
#include "GuideTestSupport.h"
#include "guide/GuideMatcher.h"
#include "guide/XmltvParser.h"
#include "guide/XmltvTime.h"
#include "records/IPTVError.h"

#include <QFileInfo>
#include <QSet>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace GuideTestSupport;

namespace {

const QString invalid = u"La guia de programació no és vàlida."_s;

// The message of the IPTVError that `parse` throws, or an empty text when it throws none.
QString failureOf(const std::function<void()> &parse)
{
    try {
        parse();
    } catch (const IPTVError &error) {
        return error.message();
    }
    return QString();
}

qsizetype channelNamed(const GuideData &guide, const QString &id)
{
    for (qsizetype c = 0; c < guide.channelCount(); ++c) {
        if (guide.channelId(c) == id)
            return c;
    }
    return -1;
}

QList<GuideProgramme> everything(const GuideData &guide, const QString &channel)
{
    const qsizetype c = channelNamed(guide, channel);
    if (c < 0)
        return {};
    return guide.schedule(c, std::numeric_limits<qint64>::min(), std::numeric_limits<qint64>::max());
}

// Counted without the parser, on the text: how many <programme> elements, how many different ones
// (a guide that repeats a programme word for word shows it once), how many with a <title>.
struct ProgrammeCount
{
    qsizetype elements = 0;
    qsizetype distinct = 0;
    qsizetype withTitle = 0;
};

ProgrammeCount countProgrammes(const QByteArray &text)
{
    ProgrammeCount count;
    QSet<QByteArray> seen;
    for (qsizetype at = text.indexOf("<programme "); at >= 0; at = text.indexOf("<programme ", at + 1)) {
        const qsizetype end = text.indexOf("</programme>", at);
        const QByteArray element = text.mid(at, end < 0 ? -1 : end - at);
        ++count.elements;
        seen.insert(element);
        count.withTitle += element.contains("<title");
    }
    count.distinct = seen.size();
    return count;
}

} // namespace

class TestXmltvParser : public QObject
{
    Q_OBJECT

private slots:
    void readsTimes_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<qint64>("expected"); // -1: refused
        const qint64 noon = XmltvTime::daysFromCivil(2024, 3, 1) * 86400 + 12 * 3600;
        QTest::newRow("UTC offset") << QByteArray("20240301120000 +0000") << noon;
        QTest::newRow("one hour east") << QByteArray("20240301120000 +0100") << noon - 3600;
        QTest::newRow("five and a half hours west") << QByteArray("20240301120000 -0530") << noon + 5 * 3600 + 1800;
        QTest::newRow("no offset is UTC") << QByteArray("20240301120000") << noon;
        QTest::newRow("no space before the offset") << QByteArray("20240301120000+0100") << noon - 3600;
        QTest::newRow("offset with a colon") << QByteArray("20240301120000 +01:00") << noon - 3600;
        QTest::newRow("Z") << QByteArray("20240301120000Z") << noon;
        QTest::newRow("no seconds") << QByteArray("202403011200 +0000") << noon;
        QTest::newRow("seconds") << QByteArray("20240301120059") << noon + 59;
        QTest::newRow("crossing into the previous day") << QByteArray("20240301003000 +0100") << noon - 12 * 3600 - 1800;
        QTest::newRow("leap day") << QByteArray("20240229000000") << noon - 86400 - 12 * 3600;
        QTest::newRow("1970") << QByteArray("19700101000000 +0000") << qint64(0);
        QTest::newRow("29 February of a common year") << QByteArray("20230229000000") << qint64(-1);
        QTest::newRow("month 13") << QByteArray("20241301000000") << qint64(-1);
        QTest::newRow("hour 24") << QByteArray("20240301240000") << qint64(-1);
        QTest::newRow("date only") << QByteArray("20240301") << qint64(-1);
        QTest::newRow("letters") << QByteArray("2024O301120000") << qint64(-1);
        QTest::newRow("zone name") << QByteArray("20240301120000 CET") << qint64(-1);
        QTest::newRow("offset of 25 hours") << QByteArray("20240301120000 +2500") << qint64(-1);
        QTest::newRow("empty") << QByteArray() << qint64(-1);
    }

    void readsTimes()
    {
        QFETCH(QByteArray, text);
        QFETCH(qint64, expected);
        const std::optional<qint64> time = XmltvTime::parse(text);
        QCOMPARE(time.value_or(-1), expected);
    }

    void readsWhatAPersonSees()
    {
        const QByteArray xml = document(
            "<channel id=\"tv3.cat\"><display-name lang=\"ca\">TV3</display-name>"
            "<display-name>TV3 HD</display-name><icon src=\"http://x/tv3.png\"/></channel>\n"
            "<programme start=\"20240301200000 +0100\" stop=\"20240301213000 +0100\" channel=\"tv3.cat\">\n"
            "  <title lang=\"ca\">  Telenotícies &amp; el temps </title><title lang=\"es\">Telediario</title>\n"
            "  <sub-title>Vespre</sub-title>\n"
            "  <desc lang=\"ca\">Les notícies del dia. Amb l&apos;Ariadna &#8220;&#x1F600;&#8221;</desc>\n"
            "  <credits><presenter>Ariadna</presenter></credits>\n"
            "  <category lang=\"ca\">Notícies</category><category lang=\"en\">News</category>\n"
            "  <!-- a comment with <title>Not this</title> -->\n"
            "</programme>\n");
        XmltvParser parser(keepAll());
        parser.feed(xml);
        const GuideData guide = parser.finish();

        QCOMPARE(guide.channelCount(), 1);
        QCOMPARE(guide.channelId(0), u"tv3.cat"_s);
        QCOMPARE(guide.displayNames(0), QStringList({u"TV3"_s, u"TV3 HD"_s}));
        QCOMPARE(guide.programmeCount(0), 1);
        const GuideProgramme programme = guide.programme(0, 0);
        QCOMPARE(programme.start, utc("20240301190000"));
        QCOMPARE(programme.stop, utc("20240301203000"));
        QCOMPARE(programme.title, u"Telenotícies & el temps"_s);
        QCOMPARE(programme.subTitle, u"Vespre"_s);
        QCOMPARE(programme.description, u"Les notícies del dia. Amb l'Ariadna “😀”"_s);
        QCOMPARE(programme.category, u"Notícies"_s);
        QCOMPARE(parser.summary().channels, 1);
        QCOMPARE(parser.summary().programmes, 1);
        QVERIFY(parser.summary().complete);
        QVERIFY(!parser.summary().compressed);
    }

    void readsMarkupInsideTexts_data()
    {
        QTest::addColumn<QByteArray>("title");
        QTest::addColumn<QString>("expected");
        QTest::newRow("CDATA") << QByteArray("<![CDATA[Tom & Jerry <3]]>") << u"Tom & Jerry <3"_s;
        QTest::newRow("comment inside") << QByteArray("Part<!-- hidden -->ial") << u"Partial"_s;
        QTest::newRow("attribute with a >") << QByteArray("Q&amp;A") << u"Q&A"_s;
        QTest::newRow("an unknown entity stays as written") << QByteArray("Caf&eacute;") << u"Caf&eacute;"_s;
        QTest::newRow("a lone ampersand") << QByteArray("Rock & roll") << u"Rock & roll"_s;
        QTest::newRow("no character zero") << QByteArray("A&#0;B") << u"A&#0;B"_s;
        QTest::newRow("a surrogate is not a character") << QByteArray("&#xD800;") << u"&#xD800;"_s;
        QTest::newRow("a comment left open keeps what came before") << QByteArray("Abans<!-- sense final") << u"Abans"_s;
        QTest::newRow("new lines inside are kept") << QByteArray("\n  Line one\nline two  \n") << u"Line one\nline two"_s;
    }

    void readsMarkupInsideTexts()
    {
        QFETCH(QByteArray, title);
        QFETCH(QString, expected);
        const GuideData guide = XmltvParser::parse(
            document("<programme start=\"20240301120000\" stop=\"20240301130000\" channel=\"a\" extra=\"x > y\">"
                     "<title>" + title + "</title></programme>"),
            keepAll());
        QCOMPARE(guide.programmeCount(), 1);
        QCOMPARE(guide.programme(0, 0).title, expected);
    }

    void readsLatin1Guides()
    {
        const QByteArray xml = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><tv>"
                               "<channel id=\"la1\"><display-name>Televisi\xf3n Espa\xf1ola</display-name></channel>"
                               "<programme start=\"20240301120000\" stop=\"20240301130000\" channel=\"la1\">"
                               "<title>Telediario &#8364;</title><desc>Ma\xf1\x61na</desc></programme></tv>";
        const GuideData guide = XmltvParser::parse(xml, keepAll());
        QCOMPARE(guide.displayNames(0), QStringList(u"Televisión Española"_s));
        QCOMPARE(guide.programme(0, 0).title, u"Telediario €"_s);
        QCOMPARE(guide.programme(0, 0).description, u"Mañana"_s);
    }

    void readsMalformedUtf8AsItReads()
    {
        // Bytes that are not UTF-8 read as U+FFFD; texts and identifiers that read alike are one.
        const GuideData guide = XmltvParser::parse(
            document(programme("x\xff", "20240301120000", "20240301130000", "Caf\xe9")
                     + programme("x\xfe", "20240301120000", "20240301130000", "Caf\xe8")
                     + programme("x\xfe", "20240301130000", "20240301140000", "Caf\xc3\xa9")),
            keepAll());
        QCOMPARE(guide.channelCount(), 1);
        QCOMPARE(guide.channelId(0), u"x\uFFFD"_s);
        QCOMPARE(titles(everything(guide, u"x\uFFFD"_s)), QStringList({u"Caf\uFFFD"_s, u"Café"_s}));
    }

    void keepsTheWindow_data()
    {
        QTest::addColumn<QByteArray>("start");
        QTest::addColumn<QByteArray>("stop");
        QTest::addColumn<bool>("kept");
        // Now is 2024-03-01 12:00 UTC: the window is [10:00, 12:00 the next day).
        QTest::newRow("ended before the window") << QByteArray("20240301080000") << QByteArray("20240301090000") << false;
        QTest::newRow("ends as the window opens") << QByteArray("20240301090000") << QByteArray("20240301100000") << false;
        QTest::newRow("still on when it opens") << QByteArray("20240301090000") << QByteArray("20240301100001") << true;
        QTest::newRow("on now") << QByteArray("20240301113000") << QByteArray("20240301123000") << true;
        QTest::newRow("tonight") << QByteArray("20240301210000 +0100") << QByteArray("20240301220000 +0100") << true;
        QTest::newRow("starts before the window closes") << QByteArray("20240302115959") << QByteArray("20240302130000") << true;
        QTest::newRow("starts as it closes") << QByteArray("20240302120000") << QByteArray("20240302130000") << false;
        QTest::newRow("in an east offset, before it closes") << QByteArray("20240302125959 +0100") << QByteArray("20240302140000 +0100") << true;
        QTest::newRow("longer than the window") << QByteArray("20240229000000") << QByteArray("20240305000000") << true;
        QTest::newRow("no stop, starting before it closes") << QByteArray("20240302110000") << QByteArray() << true;
        QTest::newRow("no stop, an hour long, before the window") << QByteArray("20240301090000") << QByteArray() << false;
    }

    void keepsTheWindow()
    {
        QFETCH(QByteArray, start);
        QFETCH(QByteArray, stop);
        QFETCH(bool, kept);
        const qint64 now = utc("20240301120000");
        XmltvParser parser(XmltvParser::Options {GuideWindow::around(now), XmltvParser::defaultMaximumBytes});
        parser.feed(document(programme("a", start, stop, "Programa")));
        const GuideData guide = parser.finish();
        QCOMPARE(parser.summary().programmes, 1);
        QCOMPARE(guide.programmeCount(), kept ? 1 : 0);
    }

    void endsProgrammesWithoutStopAtTheNextStart()
    {
        // Out of order, one channel with no stops at all, another with a stop on its first programme.
        const QByteArray xml = document(programme("a", "20240301141000", {}, "Tercer")
                                        + programme("a", "20240301120000", {}, "Primer")
                                        + programme("b", "20240301120000", "20240301121500", "Curt")
                                        + programme("a", "20240301124500", {}, "Segon")
                                        + programme("a", "20240301124500", {}, "Segon bis")
                                        + programme("b", "20240301123000", {}, "Últim"));
        const GuideData guide = XmltvParser::parse(xml, keepAll());
        const QList<GuideProgramme> a = everything(guide, u"a"_s);
        QCOMPARE(titles(a), QStringList({u"Primer"_s, u"Segon"_s, u"Segon bis"_s, u"Tercer"_s}));
        QCOMPARE(a[0].stop, utc("20240301124500"));
        QCOMPARE(a[1].stop, utc("20240301141000")); // programmes starting together both end at the next start
        QCOMPARE(a[2].stop, utc("20240301141000"));
        QCOMPARE(a[3].stop, utc("20240301151000")); // the last: an hour
        const QList<GuideProgramme> b = everything(guide, u"b"_s);
        QCOMPARE(b[0].stop, utc("20240301121500"));
        QCOMPARE(b[1].stop, utc("20240301133000"));
    }

    void ordersOverlapsAndKeepsOneOfEachRepeat()
    {
        const QByteArray xml = document(programme("a", "20240301130000", "20240301140000", "Pel·lícula")
                                        + programme("a", "20240301120000", "20240301150000", "Marató")
                                        + programme("a", "20240301130000", "20240301140000", "Pel·lícula")
                                        + programme("a", "20240301130000", "20240301140000", "Pel·lícula",
                                                    "<desc>Una altra</desc>")
                                        + programme("a", "20240301130000", "20240301133000", "Pel·lícula")
                                        + programme("a", "20240301120000", "20240301150000", "Marató"));
        XmltvParser parser(keepAll());
        parser.feed(xml);
        const GuideData guide = parser.finish();
        QCOMPARE(parser.summary().programmes, 6);
        const QList<GuideProgramme> a = everything(guide, u"a"_s);
        QCOMPARE(titles(a), QStringList({u"Marató"_s, u"Pel·lícula"_s, u"Pel·lícula"_s, u"Pel·lícula"_s}));
        QCOMPARE(a[1].description, QString());
        QCOMPARE(a[2].description, u"Una altra"_s);
        QCOMPARE(a[3].stop, utc("20240301133000"));
        // At 13:15 the film that started last is on; at 14:30 only the marathon still runs.
        QCOMPARE(guide.now(0, utc("20240301131500"))->title, u"Pel·lícula"_s);
        QCOMPARE(guide.now(0, utc("20240301143000"))->title, u"Marató"_s);
    }

    // What is not a guide is refused; a guide cut short or broken keeps the programmes complete before
    // the fault, and is not complete.
    void readsWhatIsThere_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QStringList>("expected"); // the titles of channel "a", or the failure
        QTest::addColumn<bool>("complete");
        const auto row = [](const char *name, const QByteArray &bytes, const QStringList &expected,
                             bool complete = false) { QTest::newRow(name) << bytes << expected << complete; };
        const auto refused = [&](const char *name, const QByteArray &bytes) { row(name, bytes, {invalid}); };
        refused("nothing", QByteArray());
        refused("blanks", QByteArray(" \n\t "));
        refused("text", QByteArray("No guide here"));
        refused("JSON", QByteArray("{\"epg_listings\": []}"));
        refused("an M3U playlist", QByteArray("#EXTM3U\n#EXTINF:-1,Canal\nhttp://h/1\n"));
        refused("an HTML error page", QByteArray("<!DOCTYPE html><html><body>404</body></html>"));
        refused("another XML document", QByteArray("<?xml version=\"1.0\"?><rss><channel/></rss>"));
        refused("UTF-16", QByteArray("\xff\xfe<\0t\0v\0>\0", 10));
        refused("a guide broken before any programme",
            QByteArray(
                "<tv><channel id=\"a\"><display-name>A</display-name></channel><programme start=<</tv>"));
        refused("cut inside the first programme",
            QByteArray("<tv><programme start=\"20240301120000\" channel=\"a\"><title>A</ti"));
        refused("gzip of text", ProviderGuide::gzip("hello"));
        refused("damaged gzip", QByteArray("\x1f\x8b\x08\x00garbage that does not inflate"));
        row("no programme, after a byte-order mark and a comment",
            "\xef\xbb\xbf<?xml version=\"1.0\"?>\n<!-- empty -->\n<tv generator-info-name=\"x\">"
            "<channel id=\"a\"><display-name>A</display-name></channel></tv>",
            {}, true);
        row("an empty <tv/>", "<tv/>", {}, true);
        const QByteArray whole = document(programme("a", "20240301120000", "20240301130000", "U")
            + programme("a", "20240301130000", "20240301140000", "Dos")
            + programme("a", "20240301140000", "20240301150000", "Tres"));
        const qsizetype second = whole.indexOf("Dos");
        const QStringList all {u"U"_s, u"Dos"_s, u"Tres"_s};
        row("inside the second programme", whole.left(second), {u"U"_s});
        row("before </tv>", whole.left(whole.indexOf("</tv>")), all);
        row("broken markup after the first",
            QByteArray(whole).insert(whole.lastIndexOf("<programme", second), "<<<"), {u"U"_s});
        QByteArray wrongChecksum = ProviderGuide::gzip(whole);
        wrongChecksum[wrongChecksum.size() - 8] = char(wrongChecksum[wrongChecksum.size() - 8] ^ 1);
        row("gzip with a wrong checksum", wrongChecksum, all);
        row("gzip cut short of its end", ProviderGuide::gzip(whole).chopped(9), all);
    }

    void readsWhatIsThere()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QStringList, expected);
        QFETCH(bool, complete);
        XmltvParser parser(keepAll());
        QStringList read;
        const QString failure = failureOf([&] {
            parser.feed(bytes);
            read = titles(everything(parser.finish(), u"a"_s));
        });
        QCOMPARE(failure.isEmpty() ? read : QStringList(failure), expected);
        QCOMPARE(parser.summary().complete, complete);
    }

    void expandsNoDeclaredEntity_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("title");
        QByteArray laughs = "<?xml version=\"1.0\"?>\n<!DOCTYPE tv [\n <!ENTITY lol \"lol\">\n";
        laughs += " <!ENTITY lol1 \"&lol;&lol;&lol;&lol;&lol;&lol;&lol;&lol;&lol;&lol;\">\n";
        for (int level = 2; level <= 9; ++level) {
            laughs += " <!ENTITY lol" + QByteArray::number(level) + " \"";
            for (int i = 0; i < 10; ++i)
                laughs += "&lol" + QByteArray::number(level - 1) + ';';
            laughs += "\">\n";
        }
        laughs += "]>\n<tv>" + programme("a", "20240301120000", "20240301130000", "&lol9;", "<desc>&lol9;&lol9;</desc>")
            + "</tv>";
        QTest::newRow("a billion laughs") << laughs << u"&lol9;"_s;
        QTest::newRow("an external entity")
            << QByteArray("<!DOCTYPE tv [<!ENTITY xxe SYSTEM \"file:///etc/passwd\">]><tv>"
                          + programme("a", "20240301120000", "20240301130000", "&xxe;") + "</tv>")
            << u"&xxe;"_s;
        QTest::newRow("a parameter entity") << QByteArray(
            "<!DOCTYPE tv [<!ENTITY % p SYSTEM \"http://127.0.0.1:9/x.dtd\"> %p;]><tv>"
            + programme("a", "20240301120000", "20240301130000", "Títol") + "</tv>")
                                             << u"Títol"_s;
    }

    void expandsNoDeclaredEntity()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, title);
        XmltvParser parser(keepAll());
        parser.feed(bytes);
        const GuideData guide = parser.finish();
        QVERIFY(parser.summary().complete);
        QCOMPARE(guide.programme(0, 0).title, title);
        // The texts cost what the document wrote, nothing more.
        QVERIFY2(guide.byteSize() < 2048, qPrintable(QString::number(guide.byteSize())));
    }

    void stopsAtTheSizeLimit_data()
    {
        QTest::addColumn<qint64>("limit");
        QTest::addColumn<qint64>("inflated");
        QTest::addColumn<bool>("refused");
        QTest::newRow("a gzip bomb") << qint64(4 * 1024 * 1024) << qint64(256) * 1024 * 1024 << true;
        QTest::newRow("one byte over") << qint64(1024 * 1024) << qint64(1024 * 1024 + 1) << true;
        QTest::newRow("exactly the limit") << qint64(1024 * 1024) << qint64(1024 * 1024) << false;
    }

    void stopsAtTheSizeLimit()
    {
        QFETCH(qint64, limit);
        QFETCH(qint64, inflated);
        QFETCH(bool, refused);
        // A guide whose padding is blanks: 1 MB of them compress into about a kilobyte.
        const QByteArray head = document(programme("a", "20240301120000", "20240301130000", "A")).chopped(6);
        qint64 left = inflated - head.size() - 6;
        bool headGiven = false;
        bool tailGiven = false;
        const QByteArray bomb = gzipStream([&] {
            if (!std::exchange(headGiven, true))
                return head;
            if (left > 0) {
                const qint64 piece = std::min<qint64>(left, 1 << 20);
                left -= piece;
                return QByteArray(piece, ' ');
            }
            return std::exchange(tailGiven, true) ? QByteArray() : QByteArray("</tv>\n");
        }, 9);
        QVERIFY(bomb.size() < inflated / 100);

        XmltvParser parser(XmltvParser::Options {GuideWindow::everything(), limit});
        const QString failure = failureOf([&] {
            // As a download hands it over: 64 kB at a time.
            for (qsizetype at = 0; at < bomb.size(); at += 65536)
                parser.feed(QByteArrayView(bomb).sliced(at, std::min<qsizetype>(65536, bomb.size() - at)));
            QCOMPARE(parser.finish().programmeCount(), 1);
        });
        QVERIFY(parser.summary().compressed);
        if (refused) {
            QCOMPARE(failure, u"La guia de programació supera el límit de %1 MB."_s.arg(limit / (1024 * 1024)));
            // Stopped at the limit, not at the end of the bomb.
            QVERIFY(parser.summary().xmlBytes <= limit + 256 * 1024);
        } else {
            QCOMPARE(failure, QString());
            QCOMPARE(parser.summary().xmlBytes, inflated);
        }
    }

    void givesTheSameGuideWhateverThePieces_data()
    {
        QTest::addColumn<qsizetype>("piece");
        QTest::newRow("one byte") << qsizetype(1);
        QTest::newRow("seven bytes") << qsizetype(7);
        QTest::newRow("4 kB") << qsizetype(4096);
    }

    void givesTheSameGuideWhateverThePieces()
    {
        QFETCH(qsizetype, piece);
        QUENVO_REQUIRE_FIXTURES();
        for (const QString &name : {u"epgshare01.online.xml"_s, u"epgshare01.online.xml.gz"_s, u"nzxmltv.com.xml"_s}) {
            const QByteArray bytes = Fixtures::read(Fixtures::directory() + u"/xmltv/"_s + name);
            QVERIFY(!bytes.isEmpty());
            const GuideData whole = XmltvParser::parse(bytes, keepAll());
            XmltvParser parser(keepAll());
            for (qsizetype at = 0; at < bytes.size(); at += piece)
                parser.feed(QByteArrayView(bytes).sliced(at, std::min(piece, bytes.size() - at)));
            const GuideData pieces = parser.finish();
            QVERIFY(parser.summary().complete);
            QVERIFY2(pieces == whole, qPrintable(name));
        }
    }

    void readsEveryRealGuide_data()
    {
        QTest::addColumn<QString>("path");
        const QStringList files = Fixtures::files(u"xmltv"_s, {u"*.xml"_s, u"*.xml.gz"_s});
        for (const QString &path : files)
            QTest::newRow(qPrintable(QFileInfo(path).fileName())) << path;
        if (files.isEmpty())
            QTest::newRow("no fixtures") << QString();
    }

    void readsEveryRealGuide()
    {
        QFETCH(QString, path);
        QUENVO_REQUIRE_FIXTURES();
        const QByteArray bytes = Fixtures::read(path);
        const QByteArray plain = path.endsWith(u".gz"_s) ? gunzip(bytes) : bytes;
        QVERIFY(!plain.isEmpty());
        const ProgrammeCount count = countProgrammes(plain);

        XmltvParser parser(keepAll());
        parser.feed(bytes);
        const GuideData guide = parser.finish();
        QVERIFY(parser.summary().complete);
        QCOMPARE(parser.summary().compressed, path.endsWith(u".gz"_s));
        QCOMPARE(parser.summary().xmlBytes, plain.size());
        QCOMPARE(parser.summary().programmes, count.elements);
        QCOMPARE(guide.programmeCount(), count.distinct);
        QCOMPARE(parser.summary().channels, plain.count("<channel "));

        // Every programme as a person reads it: a title, a stop after its start, in order.
        qsizetype withTitle = 0;
        for (qsizetype c = 0; c < guide.channelCount(); ++c) {
            for (qsizetype p = 0; p < guide.programmeCount(c); ++p) {
                const GuideProgramme programme = guide.programme(c, p);
                QVERIFY(programme.stop > programme.start);
                QVERIFY(!programme.title.contains(u'\uFFFD'));
                if (p > 0)
                    QVERIFY(guide.programme(c, p - 1).start <= programme.start);
                withTitle += !programme.title.isEmpty();
            }
        }
        QCOMPARE(withTitle, count.withTitle - (count.elements - count.distinct));
    }
};

QTEST_GUILESS_MAIN(TestXmltvParser)
#include "tst_xmltv_parser.moc"
