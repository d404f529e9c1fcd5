// GuideRepository over real HTTP on the loopback server: plain and compressed guides, several
// addresses merged, and what the user reads when a guide cannot be had.

#include "GuideTestSupport.h"
#include "LoopbackServer.h"
#include "Settled.h"
#include "guide/GuideRepository.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace GuideTestSupport;
using Response = LoopbackServer::Response;

namespace {

using Loaded = Outcome<GuideData>;

Loaded load(const QList<QUrl> &addresses, GuideWindow window = GuideWindow::everything(),
             qint64 maximumBytes = XmltvParser::defaultMaximumBytes)
{
    return settle(GuideRepository().load(addresses, window, {}, maximumBytes));
}

const QByteArray guideA = document("<channel id=\"a\"><display-name>A</display-name></channel>"
                                   + programme("a", "20240301100000", "20240301110000", "Matí")
                                   + programme("a", "20240301110000", "20240301120000", "Migdia")
                                   + programme("a", "20240305110000", "20240305120000", "Dimarts"));
const QByteArray guideB = document(programme("b", "20240301100000", "20240301110000", "Bon dia")
                                   + programme("a", "20240301110000", "20240301120000", "Migdia"));

QStringList titles(const GuideData &guide)
{
    QStringList result;
    for (qsizetype c = 0; c < guide.channelCount(); ++c) {
        for (qsizetype p = 0; p < guide.programmeCount(c); ++p)
            result.append(guide.channelId(c) + u':' + guide.programme(c, p).title);
    }
    return result;
}

} // namespace

class TestGuideRepository : public QObject
{
    Q_OBJECT

private slots:
    // Guides as they are served, plain or compressed, from one address or merged from several (one
    // that fails leaves the others), and cut to the window around a time when one is given.
    void downloadsGuides_data()
    {
        QTest::addColumn<QList<Response>>("responses"); // one per address
        QTest::addColumn<QByteArray>("now"); // the window's middle; empty for the whole guide
        QTest::addColumn<QStringList>("expected");

        const QStringList all {u"a:Matí"_s, u"a:Migdia"_s, u"a:Dimarts"_s};
        const QByteArray gzipped = ProviderGuide::gzip(guideA);
        QTest::newRow("plain XML") << QList {Response::ok(guideA, "application/xml")} << QByteArray() << all;
        QTest::newRow("a .gz file") << QList {Response::ok(gzipped, "application/gzip")} << QByteArray()
                                    << all;
        QTest::newRow("a .gz file in small chunks")
            << QList {Response::ok(gzipped, "application/octet-stream").chunked(100)} << QByteArray() << all;
        QTest::newRow("compressed in transit")
            << QList {Response::ok(gzipped, "application/xml").withHeader("Content-Encoding", "gzip")}
            << QByteArray() << all;
        QTest::newRow("the window around 11:30")
            << QList {Response::ok(gzipped, "application/gzip")} << QByteArray("20240301113000")
            << QStringList({u"a:Matí"_s, u"a:Migdia"_s});
        QTest::newRow("merged") << QList {Response::ok(guideA), Response::ok(guideB)} << QByteArray()
                                << all + QStringList(u"b:Bon dia"_s);
        QTest::newRow("merged, the second missing")
            << QList {Response::ok(guideA), Response::withStatus(404)} << QByteArray() << all;
        QTest::newRow("merged, the second not a guide")
            << QList {Response::ok(guideA), Response::ok("<html>Sorry</html>")} << QByteArray() << all;
    }

    void downloadsGuides()
    {
        QFETCH(QList<Response>, responses);
        QFETCH(QByteArray, now);
        QFETCH(QStringList, expected);
        LoopbackServer server;
        QList<QUrl> addresses;
        for (qsizetype i = 0; i < responses.size(); ++i) {
            server.route(u"/%1.xml"_s.arg(i), responses.at(i));
            addresses.append(server.url(u"/%1.xml"_s.arg(i)));
        }
        const Loaded outcome = load(
            addresses, now.isEmpty() ? GuideWindow::everything() : GuideWindow::around(utc(now.constData())));
        QCOMPARE(outcome.failure, QString());
        QCOMPARE(titles(*outcome.value), expected);
        QCOMPARE(outcome.value->displayNames(0), QStringList(u"A"_s));
        QCOMPARE(server.requestCount(), responses.size());
        QCOMPARE(server.lastRequest().header("User-Agent"), QByteArray("Quenvo-macOS/0.1"));
    }

    void saysWhyThereIsNoGuide_data()
    {
        QTest::addColumn<QList<QUrl>>("paths"); // relative: resolved against the server
        QTest::addColumn<qint64>("maximumBytes");
        QTest::addColumn<QString>("failure");
        const qint64 standard = XmltvParser::defaultMaximumBytes;
        QTest::newRow("missing") << QList<QUrl> {QUrl(u"/missing.xml"_s)} << standard
                                 << u"El servidor ha respost amb l’error HTTP 404."_s;
        QTest::newRow("not a guide") << QList<QUrl> {QUrl(u"/page.html"_s)} << standard
                                     << u"La guia de programació no és vàlida."_s;
        QTest::newRow("every address fails: the first failure")
            << QList<QUrl> {QUrl(u"/page.html"_s), QUrl(u"/missing.xml"_s)} << standard
            << u"La guia de programació no és vàlida."_s;
        QTest::newRow("too big once inflated") << QList<QUrl> {QUrl(u"/big.xml.gz"_s)} << qint64(1024 * 1024)
                                               << u"La guia de programació supera el límit de 1 MB."_s;
        QTest::newRow("not an http address") << QList<QUrl> {QUrl(u"ftp://127.0.0.1/epg.xml"_s)} << standard
                                             << u"L’adreça de la guia de programació no és vàlida."_s;
    }

    void saysWhyThereIsNoGuide()
    {
        QFETCH(QList<QUrl>, paths);
        QFETCH(qint64, maximumBytes);
        QFETCH(QString, failure);
        LoopbackServer server;
        server.route(u"/page.html"_s, Response::ok("<!DOCTYPE html><html><body>Hola</body></html>", "text/html"));
        server.route(u"/big.xml.gz"_s,
                     Response::ok(ProviderGuide::gzip(guideA.chopped(6) + QByteArray(2 * 1024 * 1024, ' ') + "</tv>")));
        QList<QUrl> addresses;
        for (const QUrl &path : std::as_const(paths))
            addresses.append(path.scheme().isEmpty() ? server.url(path.path()) : path);
        const Loaded outcome = load(addresses, GuideWindow::everything(), maximumBytes);
        QCOMPARE(outcome.failure, failure);
    }

    void stopsWhenCancelled()
    {
        LoopbackServer server;
        server.route(u"/slow.xml"_s, Response::ok(guideA).delayedBy(std::chrono::seconds(30)));
        const CancellationToken cancellation = CancellationToken::create();
        const GuideRepository repository;
        QCoro::Task<Loaded> task = settled(repository.load(
            {server.url(u"/slow.xml"_s), server.url(u"/slow.xml"_s)}, GuideWindow::everything(), cancellation));
        QTRY_COMPARE(server.requestCount(), 1);
        cancellation.cancel();
        const Loaded outcome = QCoro::waitFor(std::move(task));
        QCOMPARE(outcome.failure, u"<cancelled>"_s);
        QCOMPARE(server.requestCount(), 1);
    }
};

QTEST_GUILESS_MAIN(TestGuideRepository)
#include "tst_guide_repository.moc"
