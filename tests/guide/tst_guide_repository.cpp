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
    // that fails leaves the others), and cut to the window around a time when one is given; or, when
    // no address gives a guide, what the user reads about the first failure.
    void loadsGuides_data()
    {
        QTest::addColumn<QStringList>("addresses"); // paths on the loopback server, or whole addresses
        QTest::addColumn<QByteArray>("now"); // the window's middle; empty for the whole guide
        QTest::addColumn<qint64>("maximumBytes");
        QTest::addColumn<QStringList>("expected"); // "channel:title" in order, or the failure alone
        const auto row
            = [](const char *name, const QStringList &addresses, const QStringList &expected,
                  const QByteArray &now = {}, qint64 maximumBytes = XmltvParser::defaultMaximumBytes) {
                  QTest::newRow(name) << addresses << now << maximumBytes << expected;
              };

        const QStringList all {u"a:Matí"_s, u"a:Migdia"_s, u"a:Dimarts"_s};
        row("plain XML", {u"/a.xml"_s}, all);
        row("a .gz file", {u"/a.xml.gz"_s}, all);
        row("a .gz file in small chunks", {u"/chunked.gz"_s}, all);
        row("compressed in transit", {u"/in-transit.xml"_s}, all);
        row("the window around 11:30", {u"/a.xml.gz"_s}, {u"a:Matí"_s, u"a:Migdia"_s}, "20240301113000");
        row("merged", {u"/a.xml"_s, u"/b.xml"_s}, all + QStringList(u"b:Bon dia"_s));
        row("merged, the second missing", {u"/a.xml"_s, u"/missing.xml"_s}, all);
        row("merged, the second not a guide", {u"/a.xml"_s, u"/page.html"_s}, all);

        const QString invalid = u"La guia de programació no és vàlida."_s;
        row("missing", {u"/missing.xml"_s}, {u"El servidor ha respost amb l’error HTTP 404."_s});
        row("not a guide", {u"/page.html"_s}, {invalid});
        row("every address fails: the first failure", {u"/page.html"_s, u"/missing.xml"_s}, {invalid});
        row("too big once inflated", {u"/big.xml.gz"_s},
            {u"La guia de programació supera el límit de 1 MB."_s}, {}, 1024 * 1024);
        row("not an http address", {u"ftp://127.0.0.1/epg.xml"_s},
            {u"L’adreça de la guia de programació no és vàlida."_s});
    }

    void loadsGuides()
    {
        QFETCH(QStringList, addresses);
        QFETCH(QByteArray, now);
        QFETCH(qint64, maximumBytes);
        QFETCH(QStringList, expected);
        LoopbackServer server;
        const QByteArray gzipped = ProviderGuide::gzip(guideA);
        server.route(u"/a.xml"_s, Response::ok(guideA, "application/xml"));
        server.route(u"/a.xml.gz"_s, Response::ok(gzipped, "application/gzip"));
        server.route(u"/chunked.gz"_s, Response::ok(gzipped, "application/octet-stream").chunked(100));
        server.route(u"/in-transit.xml"_s,
            Response::ok(gzipped, "application/xml").withHeader("Content-Encoding", "gzip"));
        server.route(u"/b.xml"_s, Response::ok(guideB));
        server.route(
            u"/page.html"_s, Response::ok("<!DOCTYPE html><html><body>Hola</body></html>", "text/html"));
        server.route(u"/big.xml.gz"_s,
            Response::ok(
                ProviderGuide::gzip(guideA.chopped(6) + QByteArray(2 * 1024 * 1024, ' ') + "</tv>")));
        QList<QUrl> urls;
        for (const QString &address : std::as_const(addresses))
            urls.append(address.startsWith(u'/') ? server.url(address) : QUrl(address));

        const Loaded outcome = load(urls,
            now.isEmpty() ? GuideWindow::everything() : GuideWindow::around(utc(now.constData())),
            maximumBytes);
        QCOMPARE(outcome.value ? titles(*outcome.value) : QStringList(outcome.failure), expected);
        if (!outcome.value)
            return;
        QCOMPARE(outcome.value->displayNames(0), QStringList(u"A"_s));
        QCOMPARE(server.requestCount(), urls.size());
        QCOMPARE(server.lastRequest().header("User-Agent"), QByteArray("Quenvo-macOS/0.1"));
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
