#include "LoopbackServer.h"
#include "ProviderServer.h"
#include "artwork/ArtworkLoader.h"
#include "artwork/ArtworkResponse.h"
#include "artwork/CatalogArtwork.h"

#include <QBuffer>
#include <QDir>
#include <QImageWriter>
#include <QPainter>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>

#include <memory>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

// Image.status
constexpr int imageReady = 1;
constexpr int imageError = 3;

// A picture whose first half (left, as stored) is red and second half blue.
QImage halves(QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    QPainter painter(&image);
    painter.fillRect(0, 0, size.width() / 2, size.height(), Qt::red);
    painter.fillRect(size.width() / 2, 0, size.width() - size.width() / 2, size.height(), Qt::blue);
    return image;
}

QByteArray encoded(const QImage &image, const char *format)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, format);
    if (!writer.write(image))
        qWarning() << "cannot encode a test picture:" << writer.errorString();
    return buffer.data();
}

// A JPEG as cameras write it: stored sideways, with an EXIF orientation of 6 ("turn 90° clockwise
// to show"). Qt's JPEG writer writes no orientation, so the EXIF segment is put in by hand.
QByteArray sidewaysJpeg(const QImage &stored)
{
    const QByteArray exif = QByteArrayLiteral("\xff\xe1\x00\x22" // APP1, 34 bytes
                                              "Exif\x00\x00"
                                              "MM\x00\x2a\x00\x00\x00\x08" // big-endian TIFF, IFD at 8
                                              "\x00\x01" // one entry:
                                              "\x01\x12\x00\x03\x00\x00\x00\x01\x00\x06\x00\x00" // orientation 6
                                              "\x00\x00\x00\x00");
    QByteArray jpeg = encoded(stored, "jpg");
    return jpeg.insert(2, exif); // after the start-of-image marker
}

bool isReddish(QRgb pixel)
{
    return qRed(pixel) > 180 && qBlue(pixel) < 90;
}

bool isBluish(QRgb pixel)
{
    return qBlue(pixel) > 180 && qRed(pixel) < 90;
}

} // namespace

// The "artwork" image provider on a real engine, showing the application's CatalogPoster against
// the local provider: one download per address, the shared cache and its limits, thumbnails, failures,
// the bound on downloads in flight and withdrawn requests.
class TestCatalogArtwork : public QObject
{
    Q_OBJECT

private:
    QHash<QString, QByteArray> m_pictures;
    std::unique_ptr<ProviderServer> m_server;
    std::unique_ptr<QQmlEngine> m_engine;
    std::unique_ptr<QQmlComponent> m_poster;
    std::unique_ptr<QQuickWindow> m_window;
    std::vector<std::unique_ptr<QQuickItem>> m_shown;
    ArtworkLoader *m_loader = nullptr;

    static QObject *imageOf(QQuickItem *poster) { return poster->findChild<QObject *>(u"posterImage"_s); }
    static bool hasArtwork(QQuickItem *poster) { return poster->property("hasArtwork").toBool(); }
    int requestsFor(const QUrl &url) const
    {
        return m_server->imageRequestsByAddress().value(
            url.toString(QUrl::RemoveScheme | QUrl::RemoveAuthority));
    }

    bool startServer(int imageDelayMs = 0)
    {
        ProviderOptions options;
        options.generateMedia = false;
        options.imageDelayMs = imageDelayMs;
        options.extraImages = m_pictures;
        m_server = std::make_unique<ProviderServer>(options);
        return m_server->start();
    }

    // "/images/<name>", with "?n=<variant>" to make another address of the same picture.
    QUrl picture(const QString &name, int variant = -1) const
    {
        return m_server->url(
            u"/images/"_s + name + (variant >= 0 ? u"?n="_s + QString::number(variant) : QString()));
    }

    QQuickItem *show(const QUrl &url, QPointF position = {})
    {
        std::unique_ptr<QObject> object(m_poster->createWithInitialProperties({{u"url"_s, url.toString()}}));
        auto *poster = qobject_cast<QQuickItem *>(object.get());
        if (!poster)
            return nullptr;
        object.release();
        poster->setParentItem(m_window->contentItem());
        poster->setPosition(position);
        m_shown.emplace_back(poster);
        return poster;
    }

    // Shows `url`, waits for its picture and takes the poster away again.
    bool showUntilReady(const QUrl &url)
    {
        QQuickItem *poster = show(url);
        if (!poster || !QTest::qWaitFor([&] { return hasArtwork(poster); }, 10000))
            return false;
        m_shown.pop_back();
        return true;
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_pictures.insert(u"small.jpg"_s, encoded(halves(QSize(60, 90)), "jpg"));
        m_pictures.insert(u"poster.jpg"_s, encoded(halves(QSize(300, 450)), "jpg"));
        m_pictures.insert(u"wide.png"_s, encoded(halves(QSize(1200, 800)), "png"));
        m_pictures.insert(u"tall.jpg"_s, encoded(halves(QSize(500, 1500)), "jpg"));
        m_pictures.insert(u"turned.jpg"_s, sidewaysJpeg(halves(QSize(400, 200))));
        m_pictures.insert(u"turned-large.jpg"_s, sidewaysJpeg(halves(QSize(1600, 800))));
        m_pictures.insert(u"broken.jpg"_s, QByteArrayLiteral("<html>this is not a picture</html>"));
        m_loader = ArtworkLoader::instance();
    }

    void init()
    {
        m_loader->clearCache();
        m_loader->resetCounters();
        m_engine = std::make_unique<QQmlEngine>();
        // As the application's engine: the module's qmldir lies at qrc:/Quenvo/ (Qt 6.4).
        m_engine->addImportPath(u"qrc:/"_s);
        CatalogArtwork::install(*m_engine);
        m_poster = std::make_unique<QQmlComponent>(m_engine.get());
        m_poster->setData("import Quenvo\nCatalogPoster { width: 100; height: 150; title: \"Pòster\" }",
            QUrl(u"qrc:/Quenvo/views/TestPoster.qml"_s));
        QVERIFY2(m_poster->isReady(), qPrintable(m_poster->errorString()));
        m_window = std::make_unique<QQuickWindow>();
        m_window->resize(640, 400);
        m_window->setColor(Qt::black);
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
    }

    void cleanup()
    {
        m_shown.clear();
        // Every request answered and every response handed back to the engine before it goes.
        QTRY_VERIFY_WITH_TIMEOUT(m_loader->isIdle(), 30000);
        QTRY_COMPARE(ArtworkResponse::liveResponses(), 0);
        m_window.reset();
        m_poster.reset();
        m_engine.reset();
        m_server.reset();
    }

    void sameAddressIsDownloadedOnce_data()
    {
        QTest::addColumn<int>("together");
        QTest::addColumn<int>("later");
        QTest::newRow("two posters at once") << 2 << 0;
        QTest::newRow("one, then another once it shows") << 1 << 1;
        QTest::newRow("three at once, two later") << 3 << 2;
    }

    void sameAddressIsDownloadedOnce()
    {
        QFETCH(int, together);
        QFETCH(int, later);
        QVERIFY(startServer(200));
        const QUrl url = picture(u"poster.jpg"_s);

        QList<QQuickItem *> posters;
        for (int index = 0; index < together; ++index)
            posters.append(show(url, QPointF(110 * index, 0)));
        for (QQuickItem *poster : std::as_const(posters))
            QTRY_VERIFY(hasArtwork(poster));
        for (int index = 0; index < later; ++index) {
            QQuickItem *poster = show(url, QPointF(110 * index, 200));
            QTRY_VERIFY(hasArtwork(poster));
        }
        QCOMPARE(requestsFor(url), 1);
        QCOMPARE(m_server->imageRequestCount(), 1);
        QCOMPARE(m_loader->downloadsStarted(), 1);
    }

    void cacheKeepsTheMostRecentPictures_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("distinct");
        QTest::addColumn<bool>("firstEvicted");
        // 60 × 90 pixels cost 21,600 bytes: 160 of them are well within 64 MiB.
        QTest::newRow("160 small pictures") << u"small.jpg"_s << 160 << false;
        QTest::newRow("161 small pictures") << u"small.jpg"_s << 161 << true;
        // 600 × 400 thumbnails cost 960,000 bytes: 69 fit in 64 MiB, not 70.
        QTest::newRow("69 large pictures") << u"wide.png"_s << 69 << false;
        QTest::newRow("70 large pictures") << u"wide.png"_s << 70 << true;
    }

    void cacheKeepsTheMostRecentPictures()
    {
        QFETCH(QString, name);
        QFETCH(int, distinct);
        QFETCH(bool, firstEvicted);
        QVERIFY(startServer());

        for (int variant = 0; variant < distinct; ++variant)
            QVERIFY2(showUntilReady(picture(name, variant)), qPrintable(QString::number(variant)));
        QVERIFY(m_loader->cachedPictures() <= ArtworkLoader::maximumCachedPictures);
        QVERIFY(m_loader->cachedCost() <= ArtworkLoader::maximumCacheCost);
        QCOMPARE(m_server->imageRequestCount(), distinct);

        // The last one is still there; the first one only if nothing had to go.
        QVERIFY(showUntilReady(picture(name, distinct - 1)));
        QCOMPARE(requestsFor(picture(name, distinct - 1)), 1);
        QVERIFY(showUntilReady(picture(name, 0)));
        QCOMPARE(requestsFor(picture(name, 0)), firstEvicted ? 2 : 1);
        QCOMPARE(m_server->imageRequestCount(), distinct + (firstEvicted ? 1 : 0));
    }

    void picturesArriveAsThumbnails_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QSize>("size");
        QTest::addColumn<bool>("redOnTop"); // else red on the left
        QTest::newRow("small, as it is") << u"small.jpg"_s << QSize(60, 90) << false;
        QTest::newRow("wide, scaled to 600") << u"wide.png"_s << QSize(600, 400) << false;
        QTest::newRow("tall, scaled to 600") << u"tall.jpg"_s << QSize(200, 600) << false;
        QTest::newRow("turned and scaled") << u"turned-large.jpg"_s << QSize(300, 600) << true;
    }

    void picturesArriveAsThumbnails()
    {
        QFETCH(QString, name);
        QFETCH(QSize, size);
        QFETCH(bool, redOnTop);
        QVERIFY(startServer());
        const QUrl url = picture(name);

        QQuickItem *poster = show(url);
        QTRY_VERIFY(hasArtwork(poster));
        QObject *image = imageOf(poster);
        QCOMPARE(
            QSize(image->property("implicitWidth").toInt(), image->property("implicitHeight").toInt()), size);

        const QImage cached = m_loader->cached(url);
        QCOMPARE(cached.size(), size);
        const QRgb first = redOnTop ? cached.pixel(size.width() / 2, size.height() / 8)
                                    : cached.pixel(size.width() / 8, size.height() / 2);
        const QRgb second = redOnTop ? cached.pixel(size.width() / 2, size.height() * 7 / 8)
                                     : cached.pixel(size.width() * 7 / 8, size.height() / 2);
        QVERIFY2(isReddish(first), qPrintable(QColor(first).name()));
        QVERIFY2(isBluish(second), qPrintable(QColor(second).name()));
    }

    void failuresKeepThePlaceholder_data()
    {
        QTest::addColumn<QString>("address"); // "%1" is the provider's base address
        QTest::newRow("404") << u"%1/posters/none.jpg"_s;
        QTest::newRow("not a picture") << u"%1/images/broken.jpg"_s;
        QTest::newRow("nobody listening") << u"http://127.0.0.1:%2/poster.jpg"_s;
        QTest::newRow("not an HTTP address") << u"ftp://127.0.0.1/poster.jpg"_s;
        QTest::newRow("not an address") << u"pòster"_s;
    }

    void failuresKeepThePlaceholder()
    {
        QFETCH(QString, address);
        QVERIFY(startServer());
        const quint16 closedPort = LoopbackServer::closedPort();
        QVERIFY(closedPort != 0);
        QString url = address;
        if (address.contains(u"%2"_s))
            url = address.arg(closedPort);
        else if (address.contains(u"%1"_s))
            url = address.arg(m_server->baseURL().toString());
        QQuickItem *poster = show(QUrl(url));
        QTRY_COMPARE(imageOf(poster)->property("status").toInt(), imageError);
        QVERIFY(!hasArtwork(poster));
        QVERIFY(m_loader->cached(QUrl(url)).isNull());
        // Shown again: asked again (failures are not remembered), and still the placeholder.
        QQuickItem *again = show(QUrl(url), QPointF(110, 0));
        QTRY_COMPARE(imageOf(again)->property("status").toInt(), imageError);
        QVERIFY(!hasArtwork(again));
    }

    // Posters scrolled out of sight before their turn are never downloaded; then the window closes
    // (posters, window and engine at once) with the other pictures still on their way.
    void withdrawnRequestsAreNeverDownloaded()
    {
        QVERIFY(startServer(1000));
        constexpr int queued = 4;
        constexpr int withdrawn = 2;
        constexpr int total = ArtworkLoader::maximumDownloads + queued;
        // The engine hands over pending pictures in an order of its own: the first ones are in flight
        // before the others are shown.
        for (int variant = 0; variant < ArtworkLoader::maximumDownloads; ++variant)
            show(picture(u"poster.jpg"_s, variant), QPointF(30 * variant, 0));
        QTRY_COMPARE(m_loader->downloadsInFlight(), ArtworkLoader::maximumDownloads);
        for (int variant = ArtworkLoader::maximumDownloads; variant < total; ++variant)
            show(picture(u"poster.jpg"_s, variant), QPointF(30 * variant, 0));
        QTRY_COMPARE(m_loader->queuedDownloads(), queued);
        m_shown.resize(total - withdrawn);
        QTRY_COMPARE(m_loader->queuedDownloads(), queued - withdrawn);
        QCOMPARE(m_loader->downloadsInFlight(), ArtworkLoader::maximumDownloads);

        QTRY_COMPARE(m_server->imageAnswersInProgress(), ArtworkLoader::maximumDownloads);
        m_shown.clear();
        m_window.reset();
        m_poster.reset();
        m_engine.reset();
        // Every download withdrawn, nothing kept, and (in cleanup) every response deleted.
        QTRY_VERIFY(m_loader->isIdle());
        QCOMPARE(m_loader->cachedPictures(), 0);
        QCOMPARE(m_loader->downloadsStarted(), ArtworkLoader::maximumDownloads);
        for (int variant = ArtworkLoader::maximumDownloads; variant < total; ++variant)
            QCOMPARE(requestsFor(picture(u"poster.jpg"_s, variant)), 0);
    }

    void postersOnScreen()
    {
        QVERIFY(startServer());
        const QList<QUrl> urls = {picture(u"poster.jpg"_s), picture(u"turned.jpg"_s),
            picture(u"broken.jpg"_s), picture(u"wide.png"_s)};
        QList<QQuickItem *> posters;
        for (const QUrl &url : urls)
            posters.append(show(url, QPointF(20 + 150 * posters.size(), 20)));
        for (QQuickItem *poster : std::as_const(posters))
            QTRY_VERIFY(imageOf(poster)->property("status").toInt() == imageReady
                || imageOf(poster)->property("status").toInt() == imageError);
        QCOMPARE(hasArtwork(posters[2]), false);

        const QImage grabbed = m_window->grabWindow();
        const QString folder = QCoreApplication::applicationDirPath() + u"/screenshots"_s;
        QDir().mkpath(folder);
        QVERIFY(grabbed.save(folder + u"/catalog-artwork.png"_s));
        // Each poster is 100 × 150 at (20 + 150 n, 20); the pictures fill it, cropped.
        const auto at = [&](int index, qreal x, qreal y) {
            return grabbed.pixel(int((20 + 150 * index + 100 * x) * grabbed.devicePixelRatio()),
                int((20 + 150 * y) * grabbed.devicePixelRatio()));
        };
        QVERIFY(isReddish(at(0, 0.25, 0.5)) && isBluish(at(0, 0.75, 0.5)));
        QVERIFY(isReddish(at(1, 0.5, 0.25)) && isBluish(at(1, 0.5, 0.75))); // turned upright
        QVERIFY(!isReddish(at(2, 0.25, 0.5)) && !isBluish(at(2, 0.75, 0.5))); // the placeholder
        QVERIFY(isReddish(at(3, 0.4, 0.5)) && isBluish(at(3, 0.6, 0.5)));
    }
};

QTEST_MAIN(TestCatalogArtwork)
#include "tst_catalog_artwork.moc"
