#include "MediaPlayer.h"
#include "PlayerTestSupport.h"
#include "VideoSurface.h"

#include <QDir>
#include <QGuiApplication>
#include <QQuickWindow>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using LiveKind = ProviderCatalog::LiveKind;

namespace {

// Mean brightness (0–255) of `area` of `image`.
double brightness(const QImage &image, const QRect &area)
{
    double sum = 0;
    int count = 0;
    for (int y = area.top(); y <= area.bottom(); y += 2) {
        for (int x = area.left(); x <= area.right(); x += 2) {
            const QRgb pixel = image.pixel(x, y);
            sum += (qRed(pixel) + qGreen(pixel) + qBlue(pixel)) / 3.0;
            ++count;
        }
    }
    return count ? sum / count : 0;
}

} // namespace

class VideoSurfaceTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void cleanup();

    void pictureKeepsItsAspectOnBlack_data();
    void pictureKeepsItsAspectOnBlack();
    void surfaceFollowsItsPlayer();
    void releasingPlayersWhileFramesArrive();

private:
    QString clip(const QString &name) const { return m_clips.filePath(name); }
    bool waitForFrames(int count, int timeout = 20'000)
    {
        return QTest::qWaitFor([&] { return m_surface->frameCount() >= count; }, timeout);
    }
    QImage grab() { return m_window->grabWindow(); }
    // Kept in the build tree for a person to look at.
    static void saveScreenshot(const QImage &shot)
    {
        const QDir folder(QStringLiteral(QUENVO_PLAYER_SCREENSHOTS));
        folder.mkpath(u"."_s);
        QString name = QString::fromUtf8(QTest::currentDataTag()).replace(u' ', u'-').replace(u':', u'x');
        shot.save(folder.filePath(name + u".png"_s));
    }

    std::unique_ptr<ProviderServer> m_server;
    QTemporaryDir m_clips;
    bool m_haveClips = false;
    std::unique_ptr<QQuickWindow> m_window;
    VideoSurface *m_surface = nullptr;
};

void VideoSurfaceTest::initTestCase()
{
    MediaPlayer::setExtraOptionsForTesting({u"--aout=dummy"_s});
    m_server = PlayerTest::startProvider();
    QVERIFY(m_server);
    QVERIFY(m_clips.isValid());
    if (PlayerTest::haveFFmpeg()) {
        m_haveClips = PlayerTest::makeClip(clip(u"wide.ts"_s), {640, 360}, u"1/1"_s, u"gray"_s)
            && PlayerTest::makeClip(clip(u"anamorphic.ts"_s), {720, 576}, u"64/45"_s, u"gray"_s)
            && PlayerTest::makeClip(clip(u"full-hd.ts"_s), {1920, 1080}, u"1/1"_s, u"gray"_s, 2)
            && PlayerTest::makeClip(clip(u"green.ts"_s), {640, 360}, u"1/1"_s, u"green"_s, 6)
            && PlayerTest::makeClip(clip(u"yellow.ts"_s), {640, 360}, u"1/1"_s, u"yellow"_s, 6);
        QVERIFY(m_haveClips);
    }
}

void VideoSurfaceTest::cleanupTestCase()
{
    m_server.reset();
}

void VideoSurfaceTest::init()
{
    m_window = std::make_unique<QQuickWindow>();
    m_window->resize(800, 600);
    m_window->setColor(Qt::white); // anything the surface does not cover shows white, not black
    m_surface = new VideoSurface(m_window->contentItem());
    m_surface->setSize(m_window->size());
    m_window->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
}

void VideoSurfaceTest::cleanup()
{
    m_window.reset();
    m_surface = nullptr;
}

void VideoSurfaceTest::pictureKeepsItsAspectOnBlack_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QSize>("shownAs");
    QTest::addColumn<bool>("banded"); // a blue band at the top and a red one at the bottom

    // libVLC offers 640×386, 720×578 and 1920×1090 buffers for these and scales the picture into them.
    QTest::newRow("16:9 file") << u"wide.ts"_s << QSize(640, 360) << true;
    QTest::newRow("anamorphic 16:9 file") << u"anamorphic.ts"_s << QSize(1024, 576) << true;
    QTest::newRow("1080p file") << u"full-hd.ts"_s << QSize(1920, 1080) << true;
    QTest::newRow("live MPEG-TS") << QString() << QSize(640, 360) << false;
}

void VideoSurfaceTest::pictureKeepsItsAspectOnBlack()
{
    QFETCH(QString, source);
    QFETCH(QSize, shownAs);
    QFETCH(bool, banded);
    if (source.isEmpty())
        QUENVO_REQUIRE_PROVIDER_MEDIA(m_server);
    else if (!m_haveClips)
        QSKIP("ffmpeg is not available");

    MediaPlayer player;
    m_surface->setPlayer(&player);
    player.setMedia(source.isEmpty() ? PlayerTest::liveURL(*m_server, LiveKind::regular)
                                     : QUrl::fromLocalFile(clip(source)));
    player.play();
    QVERIFY(waitForFrames(3));
    QTRY_COMPARE(m_surface->pictureSize(), shownAs);
    // libVLC's own counters follow a little later than the pictures.
    QTRY_VERIFY(PlayerTest::hasMedia(player, true, false));

    // 800×600 holds a 16:9 picture as 800×450 with bars of 75 above and below.
    const QRectF expected = QRectF(QPointF(0, 0), QSizeF(shownAs).scaled(800, 600, Qt::KeepAspectRatio))
                                .translated(0, (600 - 450) / 2.0);
    QCOMPARE(m_surface->pictureRect(), expected);

    const QImage shot = grab();
    QCOMPARE(shot.size(), QSize(800, 600) * m_window->effectiveDevicePixelRatio());
    saveScreenshot(shot);
    const QRect picture = expected.toRect();
    // Black bars, not the window's white.
    QVERIFY(brightness(shot, QRect(0, 0, 800, picture.top() - 2)) < 8);
    QVERIFY(brightness(shot, QRect(0, picture.bottom() + 2, 800, 600 - picture.bottom() - 2)) < 8);
    // A picture, not a black rectangle.
    QVERIFY(brightness(shot, picture.adjusted(0, picture.height() / 4, 0, -picture.height() / 4)) > 40);
    if (banded) {
        // The whole picture is there: its top band at the top edge, its bottom band at the bottom.
        const int band = picture.height() / 12;
        const QRgb top = shot.pixel(picture.center().x(), picture.top() + band / 2);
        const QRgb bottom = shot.pixel(picture.center().x(), picture.bottom() - band / 2);
        QVERIFY2(PlayerTest::looksLike(top, Qt::blue), qPrintable(QColor(top).name()));
        QVERIFY2(PlayerTest::looksLike(bottom, Qt::red), qPrintable(QColor(bottom).name()));
        const QRgb middle = shot.pixel(picture.center());
        QVERIFY2(PlayerTest::looksLike(middle, Qt::gray), qPrintable(QColor(middle).name()));
    }
    // The surface holds its own copy of the picture, with the whole buffer libVLC drew into.
    const VideoFrame &frame = m_surface->frame();
    QVERIFY(!frame.isNull());
    QCOMPARE(frame.image.width(), player.videoSize().width());
    QVERIFY(qAbs(frame.image.height() - player.videoSize().height()) <= 32);
    QVERIFY(player.deliveredFrames() >= quint64(m_surface->frameCount()));
}

// A surface follows the player it is given; a stopped player's last picture stays, and a surface
// given that player shows the picture at once; with no player the surface is black.
void VideoSurfaceTest::surfaceFollowsItsPlayer()
{
    if (!m_haveClips)
        QSKIP("ffmpeg is not available");
    MediaPlayer green;
    MediaPlayer yellow;
    green.setMedia(QUrl::fromLocalFile(clip(u"green.ts"_s)));
    yellow.setMedia(QUrl::fromLocalFile(clip(u"yellow.ts"_s)));
    green.play();
    yellow.play();
    QSignalSpy playerChanges(m_surface, &VideoSurface::playerChanged);

    m_surface->setPlayer(&green);
    QCOMPARE(m_surface->player(), &green);
    QVERIFY(waitForFrames(3));
    green.stop();
    QTRY_COMPARE(green.state(), MediaPlayer::State::Stopped);
    const int frames = m_surface->frameCount();
    QTest::qWait(200);
    QCOMPARE(m_surface->frameCount(), frames);
    QVERIFY(!m_surface->frame().isNull());
    QVERIFY(PlayerTest::looksLike(grab().pixel(400, 300), QColor(0, 128, 0)));
    VideoSurface other(m_window->contentItem());
    other.setPlayer(&green);
    QCOMPARE(other.frameCount(), 1);
    QCOMPARE(other.frame().serial, m_surface->frame().serial);

    m_surface->setPlayer(&yellow);
    QCOMPARE(m_surface->player(), &yellow);
    QVERIFY(waitForFrames(2));
    QVERIFY(PlayerTest::looksLike(grab().pixel(400, 300), Qt::yellow));

    m_surface->setPlayer(nullptr);
    QCOMPARE(m_surface->frameCount(), 0);
    QVERIFY(m_surface->frame().isNull());
    QVERIFY(m_surface->pictureRect().isEmpty());
    QTest::qWait(200);
    QCOMPARE(m_surface->frameCount(), 0);
    QVERIFY(brightness(grab(), QRect(0, 0, 800, 600)) < 8);
    QCOMPARE(playerChanges.count(), 3);
}

void VideoSurfaceTest::releasingPlayersWhileFramesArrive()
{
    if (!m_haveClips)
        QSKIP("ffmpeg is not available");
    // Players destroyed in the middle of playback, while their pictures are being drawn and shown:
    // the surface must let go of them and never touch what they owned (the sanitizer build checks).
    for (int round = 0; round < 4; ++round) {
        auto player = std::make_unique<MediaPlayer>();
        m_surface->setPlayer(player.get());
        player->setMedia(QUrl::fromLocalFile(clip(round % 2 ? u"full-hd.ts"_s : u"wide.ts"_s)));
        player->play();
        QVERIFY(waitForFrames(2));
        if (round == 1)
            player->stop(); // destroyed while its stop is still running
        QSignalSpy playerChanges(m_surface, &VideoSurface::playerChanged);
        player.reset();
        QCOMPARE(m_surface->player(), nullptr);
        QCOMPARE(playerChanges.count(), 1);
        QVERIFY(m_surface->frame().isNull());
        QCOMPARE(m_surface->frameCount(), 0);
        grab();
    }
    // And a player switched away from while it plays, then destroyed unseen.
    auto first = std::make_unique<MediaPlayer>();
    MediaPlayer second;
    m_surface->setPlayer(first.get());
    first->setMedia(QUrl::fromLocalFile(clip(u"green.ts"_s)));
    second.setMedia(QUrl::fromLocalFile(clip(u"yellow.ts"_s)));
    first->play();
    second.play();
    QVERIFY(waitForFrames(2));
    m_surface->setPlayer(&second);
    QVERIFY(waitForFrames(2));
    first.reset();
    QCOMPARE(m_surface->player(), &second);
    QVERIFY(waitForFrames(4));
    QVERIFY(PlayerTest::looksLike(grab().pixel(400, 300), Qt::yellow));
}

QTEST_MAIN(VideoSurfaceTest)
#include "tst_video_surface.moc"
