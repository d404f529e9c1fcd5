#include "MediaPlayer.h"
#include "PlayerTestSupport.h"

#include "Fixtures.h"
#include "LoopbackServer.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using LiveKind = ProviderCatalog::LiveKind;
using State = MediaPlayer::State;

namespace {

QList<State> statesIn(const QSignalSpy &spy)
{
    QList<State> states;
    for (const QList<QVariant> &arguments : spy)
        states.append(arguments.at(0).value<State>());
    return states;
}

QList<qint32> idsOf(const QList<MediaPlayer::Track> &tracks)
{
    QList<qint32> ids;
    for (const MediaPlayer::Track &track : tracks)
        ids.append(track.id);
    return ids;
}

} // namespace

class MediaPlayerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();

    void standardOptions();
    void aPlayerWithoutMedia();
    void streamDeliversMedia_data();
    void streamDeliversMedia();
    void aStreamThatStopsByItselfKeepsItsLastState_data();
    void aStreamThatStopsByItselfKeepsItsLastState();
    void theAddressReachesTheServerAsWritten();
    void stalledStreamStaysWithoutMedia();
    void stopIsAnnouncedLaterAndEndsPictures();
    void aMoviePausesSeeksAndDelaysSubtitles();
    void movieListsTwoAudioTracks_data();
    void movieListsTwoAudioTracks();
    void subtitleFileBecomesATrack_data();
    void subtitleFileBecomesATrack();
    void destroyingAPlayerDropsItsPendingEvents();

private:
    // Plays `url` on `player` until it has displayed a picture (when `video`) and played an audio
    // buffer (when `audio`).
    bool playUntilMedia(MediaPlayer &player, const QUrl &url, bool video = true, bool audio = true);
    QUrl movieFile() const { return QUrl::fromLocalFile(m_server->media().moviePath(u"mp4")); }

    std::unique_ptr<ProviderServer> m_server;
};

void MediaPlayerTest::initTestCase()
{
    MediaPlayer::setExtraOptionsForTesting({u"--aout=dummy"_s});
    m_server = PlayerTest::startProvider();
    QVERIFY(m_server);
    if (!m_server->mediaAvailable())
        qWarning("playback checks will be skipped: %s", qPrintable(m_server->mediaError()));
}

void MediaPlayerTest::cleanupTestCase()
{
    m_server.reset();
}

bool MediaPlayerTest::playUntilMedia(MediaPlayer &player, const QUrl &url, bool video, bool audio)
{
    player.setMedia(url);
    player.play();
    return QTest::qWaitFor([&] { return PlayerTest::hasMedia(player, video, audio); }, 30'000);
}

void MediaPlayerTest::standardOptions()
{
    QCOMPARE(MediaPlayer::standardOptions(),
        QStringList({u"--quiet"_s, u"--no-video-title-show"_s, u"--no-osd"_s, u"--network-caching=1500"_s}));
}

// A player with nothing to play: idle, refusing what needs a stream (libVLC refuses a subtitle file
// only when there is nothing to add it to), and keeping its volume within bounds.
void MediaPlayerTest::aPlayerWithoutMedia()
{
    MediaPlayer player;
    QVERIFY(player.isValid());
    QCOMPARE(player.state(), State::Stopped);
    QVERIFY(!player.hasMedia());
    QVERIFY(!player.isPlaying());
    QVERIFY(!player.isSeekable());
    QCOMPARE(player.position(), 0.0f);
    QVERIFY(!player.time().isDefined());
    QCOMPARE(player.time().text(), u"--:--"_s);
    QCOMPARE(player.length().text(), u"--:--"_s);
    QCOMPARE(player.statistics(), MediaPlayer::Statistics());
    QVERIFY(player.subtitleTracks().isEmpty());
    QVERIFY(player.audioTracks().isEmpty());
    QCOMPARE(player.currentSubtitleTrack(), -1);
    QVERIFY(player.currentFrame().isNull());
    QCOMPARE(player.deliveredFrames(), quint64(0));
    QVERIFY(player.videoSize().isEmpty());

    QVERIFY(!player.addSubtitleFile(QUrl::fromLocalFile(QFINDTESTDATA("tst_media_player.cpp"))));
    QVERIFY(!player.setSubtitleDelay(500'000));
    QCOMPARE(player.subtitleDelay(), 0);

    player.setVolume(57);
    QCOMPARE(player.volume(), 57);
    player.setVolume(-3);
    QCOMPARE(player.volume(), 0);
    player.setVolume(250);
    QCOMPARE(player.volume(), 200);
}

void MediaPlayerTest::streamDeliversMedia_data()
{
    QTest::addColumn<LiveKind>("kind");
    QTest::addColumn<bool>("video");

    QTest::newRow("live MPEG-TS") << LiveKind::regular << true;
    QTest::newRow("live HLS") << LiveKind::hls << true;
    QTest::newRow("audio only") << LiveKind::radio << false;
}

void MediaPlayerTest::streamDeliversMedia()
{
    QUENVO_REQUIRE_PROVIDER_MEDIA(m_server);
    QFETCH(LiveKind, kind);
    QFETCH(bool, video);

    MediaPlayer player;
    QSignalSpy states(&player, &MediaPlayer::stateChanged);
    const QUrl url = PlayerTest::liveURL(*m_server, kind);
    QVERIFY(playUntilMedia(player, url, video, true));
    QCOMPARE(player.media(), url);
    QVERIFY(player.isPlaying());
    QTRY_COMPARE(player.state(), State::Playing);
    QVERIFY(statesIn(states).startsWith(State::Opening));
    QVERIFY(player.time().isDefined());
    QVERIFY(!player.audioTracks().isEmpty());
    if (kind == LiveKind::hls) {
        QTRY_VERIFY(player.length().milliseconds() > 0); // the playlist's window
    } else {
        QCOMPARE(player.length().text(), u"00:00"_s);
        QVERIFY(!player.isSeekable());
    }

    const MediaPlayer::Statistics statistics = player.statistics();
    QVERIFY(statistics.demuxReadBytes > 0);
    QVERIFY(statistics.decodedAudio > 0);
    if (video) {
        QVERIFY(statistics.decodedVideo > 0);
        QCOMPARE(player.videoSize(), QSize(640, 360));
        QTRY_VERIFY(player.deliveredFrames() > 0);
    } else {
        QCOMPARE(statistics.displayedPictures, 0);
        QCOMPARE(statistics.decodedVideo, 0);
        QVERIFY(player.videoSize().isEmpty());
        QCOMPARE(player.deliveredFrames(), quint64(0));
    }
}

void MediaPlayerTest::aStreamThatStopsByItselfKeepsItsLastState_data()
{
    QTest::addColumn<LiveKind>("kind");
    QTest::addColumn<State>("last");
    QTest::newRow("missing") << LiveKind::missing << State::Error;
    QTest::newRow("a live stream that ends") << LiveKind::shortLived << State::Ended;
}

// libVLC's own Stopped note that follows an error or an end is not announced: that state stays.
void MediaPlayerTest::aStreamThatStopsByItselfKeepsItsLastState()
{
    QUENVO_REQUIRE_PROVIDER_MEDIA(m_server);
    QFETCH(LiveKind, kind);
    QFETCH(State, last);
    MediaPlayer player;
    QSignalSpy states(&player, &MediaPlayer::stateChanged);
    const QUrl url = PlayerTest::liveURL(*m_server, kind);
    if (last == State::Ended) {
        QVERIFY(playUntilMedia(player, url));
    } else {
        player.setMedia(url);
        player.play();
    }
    QTRY_COMPARE_WITH_TIMEOUT(player.state(), last, 30'000);
    QTest::qWait(200);
    QCOMPARE(player.state(), last);
    QCOMPARE(statesIn(states).contains(State::Error), last == State::Error);
    QVERIFY(!statesIn(states).contains(State::Stopped));
    QVERIFY(!player.isPlaying());
    if (last == State::Error) {
        QCOMPARE(player.statistics().displayedPictures, 0);
        QCOMPARE(player.statistics().playedAudioBuffers, 0);
        return;
    }
    // Stopping an ended player is still answered with Stopped.
    player.stop();
    QTRY_COMPARE(player.state(), State::Stopped);
    QCOMPARE(states.last().at(0).value<State>(), State::Stopped);
}

// Escapes in lower case, and one of a letter URL rules would decode: the server sees them unchanged.
void MediaPlayerTest::theAddressReachesTheServerAsWritten()
{
    LoopbackServer server;
    const QByteArray written = "/live/%6eews-%c3%a0.ts";
    MediaPlayer player;
    player.setMedia(server.url().toEncoded(QUrl::RemovePath) + written);
    player.play();
    QTRY_VERIFY_WITH_TIMEOUT(server.requestCount() > 0, 15'000);
    QCOMPARE(server.requests().constFirst().target, written);
    player.stop();
}

void MediaPlayerTest::stalledStreamStaysWithoutMedia()
{
    QUENVO_REQUIRE_PROVIDER_MEDIA(m_server);
    MediaPlayer player;
    QSignalSpy states(&player, &MediaPlayer::stateChanged);
    player.setMedia(PlayerTest::liveURL(*m_server, LiveKind::stalled));
    player.play();
    QTRY_VERIFY(states.count() > 0);
    QCOMPARE(states.first().at(0).value<State>(), State::Opening);
    // The server sent its head and nothing more: a while later there is still no picture or sound,
    // and no end or error either (only the application's own watchdog ends this).
    QTest::qWait(2500);
    QVERIFY(!PlayerTest::hasMedia(player, false, true));
    QCOMPARE(player.statistics().displayedPictures, 0);
    const QList<State> seen = statesIn(states);
    QVERIFY(!seen.contains(State::Error));
    QVERIFY(!seen.contains(State::Ended));

    player.stop();
    QTRY_COMPARE(player.state(), State::Stopped);
}

void MediaPlayerTest::stopIsAnnouncedLaterAndEndsPictures()
{
    QUENVO_REQUIRE_PROVIDER_MEDIA(m_server);
    MediaPlayer player;
    QVERIFY(playUntilMedia(player, PlayerTest::liveURL(*m_server, LiveKind::regular)));
    QTRY_VERIFY(player.deliveredFrames() > 0);
    QSignalSpy states(&player, &MediaPlayer::stateChanged);

    player.stop();
    player.stop(); // a second stop while the first runs changes nothing
    // The Stopped state comes through the event loop, like every other one.
    QCOMPARE(states.count(), 0);
    QVERIFY(states.wait(5000));
    QCOMPARE(states.count(), 1);
    QCOMPARE(states.first().at(0).value<State>(), State::Stopped);
    QCOMPARE(player.state(), State::Stopped);
    QVERIFY(!player.isPlaying());
    // Once Stopped is announced, libVLC draws nothing more.
    const quint64 framesAtStop = player.deliveredFrames();
    QTest::qWait(300);
    QCOMPARE(player.deliveredFrames(), framesAtStop);
    QCOMPARE(states.count(), 1);
    // The media stays set: the player may play it again.
    QVERIFY(player.hasMedia());
}

// A movie as a user meets it: it pauses and resumes, shows its length, seeks, and takes a subtitle
// delay in microseconds, up to a minute either way.
void MediaPlayerTest::aMoviePausesSeeksAndDelaysSubtitles()
{
    QUENVO_REQUIRE_PROVIDER_MEDIA(m_server);
    MediaPlayer player;
    QVERIFY(playUntilMedia(player, PlayerTest::movieURL(*m_server, u"mp4"_s)));
    player.pause();
    QTRY_COMPARE(player.state(), State::Paused);
    QVERIFY(!player.isPlaying());
    player.play();
    QTRY_COMPARE(player.state(), State::Playing);
    QVERIFY(player.isPlaying());

    QTRY_VERIFY(player.isSeekable());
    const qint64 expected = ProviderCatalog::movieSeconds * 1000;
    QVERIFY2(qAbs(player.length().milliseconds() - expected) < 1000, qPrintable(player.length().text()));
    QCOMPARE(player.length().text(), mediaTimeText(player.length().milliseconds()));
    player.setPosition(0.5f);
    QTRY_VERIFY_WITH_TIMEOUT(player.time().milliseconds() >= expected / 2 - 1000, 10'000);
    QVERIFY2(player.time().milliseconds() < expected / 2 + 5000, qPrintable(player.time().text()));
    QVERIFY(player.position() >= 0.45f && player.position() < 0.7f);

    for (const qint64 microseconds : {1234, 0, 500'000, -500'000, 60'000'000, -60'000'000}) {
        QVERIFY(player.setSubtitleDelay(microseconds));
        QCOMPARE(player.subtitleDelay(), microseconds);
    }
}

void MediaPlayerTest::movieListsTwoAudioTracks_data()
{
    QTest::addColumn<QString>("container");
    QTest::newRow("MP4") << u"mp4"_s;
    QTest::newRow("Matroska") << u"mkv"_s;
}

void MediaPlayerTest::movieListsTwoAudioTracks()
{
    QUENVO_REQUIRE_PROVIDER_MEDIA(m_server);
    QFETCH(QString, container);
    const QUrl url = PlayerTest::movieURL(*m_server, container);
    if (url.isEmpty())
        QSKIP("the provider lists no movie in this container");

    MediaPlayer player;
    QVERIFY(playUntilMedia(player, url));
    QTRY_COMPARE(player.audioTracks().size(), 3);
    const QList<MediaPlayer::Track> tracks = player.audioTracks();
    // libVLC lists its "Disable" entry first, with a negative id.
    QVERIFY(tracks.at(0).id < 0);
    QVERIFY(tracks.at(1).id >= 0 && tracks.at(2).id >= 0);
    // Named from the title and language tags ("Català - [Catalan]"; Matroska keeps only the language).
    QVERIFY2(tracks.at(1).name.contains(u"Catalan"_s), qPrintable(tracks.at(1).name));
    QVERIFY2(tracks.at(2).name.contains(u"English"_s), qPrintable(tracks.at(2).name));
    QCOMPARE(player.currentAudioTrack(), tracks.at(1).id);

    QVERIFY(player.setCurrentAudioTrack(tracks.at(2).id));
    QTRY_COMPARE(player.currentAudioTrack(), tracks.at(2).id);
    QVERIFY(player.setCurrentAudioTrack(tracks.at(0).id));
    QTRY_COMPARE(player.currentAudioTrack(), -1);
    QVERIFY(player.setCurrentAudioTrack(tracks.at(1).id));
    QTRY_COMPARE(player.currentAudioTrack(), tracks.at(1).id);
    // An id libVLC never listed is refused.
    QVERIFY(!player.setCurrentAudioTrack(tracks.at(2).id + 100));
    QCOMPARE(player.currentAudioTrack(), tracks.at(1).id);

    // The film's own subtitle track is listed too.
    QTRY_COMPARE(player.subtitleTracks().size(), 2);
}

void MediaPlayerTest::subtitleFileBecomesATrack_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<bool>("readable");
    if (Fixtures::directory().isEmpty())
        return;
    const auto row = [](const QString &name, bool readable) {
        QTest::newRow(qPrintable(name)) << Fixtures::directory() + u"/subtitles/"_s + name << readable;
    };
    row(u"subsrt/sample.srt"_s, true);
    row(u"subsrt/sample.vtt"_s, true);
    row(u"webvtt-py/captions_with_bom.vtt"_s, true);
    row(u"webvtt-py/styles.vtt"_s, true);
    row(u"pysubs2/ttml_example.ass"_s, true);
    row(u"pysubs2/subtitle_with_attached_images_aegisub.ass"_s, true);
    // Every line of these two is indented by a space: libVLC accepts the file, cannot read it, and
    // says nothing (no track appears).
    row(u"subsrt/sample.ass"_s, false);
    row(u"subsrt/sample.ssa"_s, false);
}

void MediaPlayerTest::subtitleFileBecomesATrack()
{
    QUENVO_REQUIRE_FIXTURES();
    QUENVO_REQUIRE_PROVIDER_MEDIA(m_server);
    QFETCH(QString, file);
    QFETCH(bool, readable);
    QVERIFY2(QFileInfo::exists(file), qPrintable(file));

    MediaPlayer player;
    QVERIFY(playUntilMedia(player, movieFile()));
    QTRY_COMPARE(player.subtitleTracks().size(), 2); // "Disable" and the film's own
    const QList<qint32> before = idsOf(player.subtitleTracks());

    QVERIFY(player.addSubtitleFile(QUrl::fromLocalFile(file)));
    if (!readable) {
        QTest::qWait(2000);
        QCOMPARE(idsOf(player.subtitleTracks()), before);
        return;
    }
    QTRY_COMPARE_WITH_TIMEOUT(player.subtitleTracks().size(), 3, 10'000);
    qint32 added = -1;
    for (const qint32 id : idsOf(player.subtitleTracks())) {
        if (!before.contains(id))
            added = id;
    }
    QVERIFY(added >= 0);
    // Added with selection: the file's track becomes the current one.
    QTRY_COMPARE(player.currentSubtitleTrack(), added);

    QVERIFY(player.setCurrentSubtitleTrack(-1));
    QTRY_COMPARE(player.currentSubtitleTrack(), -1);
    QVERIFY(player.setCurrentSubtitleTrack(added));
    QTRY_COMPARE(player.currentSubtitleTrack(), added);
}

void MediaPlayerTest::destroyingAPlayerDropsItsPendingEvents()
{
    QUENVO_REQUIRE_PROVIDER_MEDIA(m_server);
    // States and pictures posted by libVLC's threads must die with the player: destroy players with
    // work in flight, then run the event loop (the sanitizer build catches any use after free).
    for (const LiveKind kind : {LiveKind::missing, LiveKind::regular, LiveKind::stalled}) {
        auto player = std::make_unique<MediaPlayer>();
        int received = 0;
        connect(player.get(), &MediaPlayer::stateChanged, this, [&received] { ++received; });
        player->setMedia(PlayerTest::liveURL(*m_server, kind));
        player->play();
        QTest::qWait(kind == LiveKind::regular ? 1500 : 100);
        player.reset();
        const int atRelease = received;
        QTest::qWait(200);
        QCOMPARE(received, atRelease);
    }
}

QTEST_GUILESS_MAIN(MediaPlayerTest)
#include "tst_media_player.moc"
