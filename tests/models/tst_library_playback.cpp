// The library model's playback through real libVLC, on the local provider's generated streams over
// the loopback interface. The tick is driven by the test, and the clock the playback rules read can be
// moved forward, so the 35-second and 5-second rules are checked without waiting for them.

#include "Fixtures.h"
#include "PlayingLibrary.h"
#include "Texts.h"
#include "stores/WatchHistory.h"

#include <QDir>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTimer>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class tst_LibraryPlayback : public QObject
{
    Q_OBJECT

private:
    PlayingLibrary m_play;
    LibraryModel::Environment m_environment;
    LibraryModel *m_model = nullptr;

    void skip(std::chrono::seconds seconds) { m_play.skipped += seconds; }
    Channel liveChannel(ProviderCatalog::LiveKind kind) const { return m_play.liveChannel(kind); }

    // Ticks as the timer would, until `done` holds or `timeout` passes.
    template<typename Predicate> bool tickUntil(Predicate done, std::chrono::milliseconds timeout = 15s)
    {
        const auto deadline = std::chrono::steady_clock::now() + timeout;
        while (std::chrono::steady_clock::now() < deadline) {
            m_model->tick();
            if (done())
                return true;
            QTest::qWait(100);
        }
        return false;
    }

    bool receivedMedia() const { return !m_model->waiting() && !m_model->diagnostics().isEmpty(); }

    // The first movie's detail open, with `seconds` of it remembered (and marked watched), and playing.
    QString playFirstMovieFrom(double seconds, bool watched = false)
    {
        if (!m_play.openFirstMovie())
            return QString();
        const QString key = m_play.openTitleKey();
        m_model->history()->update(key, seconds, 100);
        if (watched)
            m_model->history()->toggle(key);
        m_model->playMovie();
        return key;
    }

private Q_SLOTS:
    void initTestCase()
    {
        ProviderOptions options;
        options.liveChannels = 12;
        options.movies = 4;
        options.series = 2;
        options.categories = 2;
        QVERIFY2(m_play.startProvider(options), qPrintable(m_play.provider.server().errorString()));
        if (!m_play.provider.mediaProblem().isEmpty())
            QSKIP(qPrintable(m_play.provider.mediaProblem()));
    }

    void init()
    {
        m_environment.keychainService = u"test.quenvo.playback"_s;
        m_environment.pollPlayback = false;
        QVERIFY(m_play.connect(m_environment));
        m_model = m_play.model.get();
    }

    void cleanup() { m_play.finish(); }

    void aPictureOrASoundCountsAsMedia_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<bool>("video");
        QTest::newRow("video and sound") << int(ProviderCatalog::LiveKind::regular) << true;
        QTest::newRow("sound only") << int(ProviderCatalog::LiveKind::radio) << false;
        QTest::newRow("HLS") << int(ProviderCatalog::LiveKind::hls) << true;
    }

    void aPictureOrASoundCountsAsMedia()
    {
        QFETCH(int, kind);
        QFETCH(bool, video);
        LibraryModel &model = *m_model;
        model.play(liveChannel(ProviderCatalog::LiveKind(kind)), false);
        QCOMPARE(model.retiringPlayerCount(), 0); // nothing was playing: no player to wait for
        QVERIFY(model.player()->hasMedia());
        const MediaPlayer *player = model.player();
        QVERIFY(model.waiting());
        QVERIFY(tickUntil([&] { return !model.waiting(); }));
        QCOMPARE(model.playbackError(), std::nullopt);
        const MediaPlayer::Statistics statistics = model.player()->statistics();
        QVERIFY(statistics.displayedPictures > 0 || statistics.playedAudioBuffers > 0);
        QCOMPARE(statistics.displayedPictures > 0 || model.player()->deliveredFrames() > 0, video);
        QVERIFY2(QRegularExpression(u"^Vídeo: \\d+ fotogrames · Àudio: \\d+ blocs$"_s).match(model.diagnostics()).hasMatch(),
                 qPrintable(model.diagnostics()));
        QVERIFY(tickUntil([&] { return model.isPlaying(); }));
        QVERIFY(!model.seekable()); // live: never seekable
        model.seek(0.5);

        // Pausing and resuming.
        model.togglePlayback();
        QVERIFY(tickUntil([&] { return !model.isPlaying(); }));
        model.togglePlayback();
        QVERIFY(tickUntil([&] { return model.isPlaying(); }));

        model.stop();
        QCOMPARE(model.currentChannel(), std::nullopt);
        QVERIFY(model.player() != player);
        QCOMPARE(model.elapsed(), u"00:00"_s);
        QCOMPARE(model.durationLabel(), u"--:--"_s);
        QCOMPARE(model.diagnostics(), QString());
    }

    void failuresShowTheirMessage()
    {
        LibraryModel &model = *m_model;
        const QString openFailure = u"No es pot obrir aquest canal. El servidor pot no tenir el flux disponible. Prova "
                                    u"un altre canal o torna-ho a provar."_s;
        model.play(liveChannel(ProviderCatalog::LiveKind::missing), false);
        QVERIFY(tickUntil([&] { return model.playbackError().has_value(); }, 5s));
        QCOMPARE(model.playbackError(), std::optional<QString>(openFailure));
        QVERIFY(!model.waiting());
        // Nothing to pause or restart after a failure.
        model.togglePlayback();
        QTest::qWait(300);
        model.tick();
        QCOMPARE(model.player()->state(), MediaPlayer::State::Error);
        QCOMPARE(model.playbackError(), std::optional<QString>(openFailure));

        // A live stream that ends after showing pictures.
        model.play(liveChannel(ProviderCatalog::LiveKind::shortLived), false);
        QVERIFY(tickUntil([&] { return !model.waiting(); }));
        QCOMPARE(model.playbackError(), std::nullopt);
        QVERIFY(tickUntil([&] { return model.playbackError().has_value(); }, 20s));
        QCOMPARE(model.playbackError(),
            std::optional<QString>(u"L’emissió s’ha acabat. Pots tornar a obrir el canal."_s));

        // A stream that never starts: 35 seconds of waiting, on the model's clock.
        model.play(liveChannel(ProviderCatalog::LiveKind::stalled), false);
        QVERIFY(!tickUntil([&] { return !model.waiting(); }, 1500ms));
        skip(30s);
        model.tick();
        QVERIFY(model.waiting());
        QCOMPARE(model.playbackError(), std::nullopt);
        skip(6s);
        model.tick();
        QVERIFY(!model.waiting());
        QCOMPARE(model.playbackError(),
                 std::optional<QString>(u"El canal no ha començat a reproduir-se en 35 segons. Prova un altre canal o "
                                        u"torna-ho a provar."_s));
    }

    void switchingWaitsForTheOldPlayerToStop()
    {
        LibraryModel &model = *m_model;
        const Channel stalled = liveChannel(ProviderCatalog::LiveKind::stalled);
        const Channel regular = liveChannel(ProviderCatalog::LiveKind::regular);
        model.play(stalled, false);
        QTest::qWait(300); // opening, not stopped
        skip(30s);
        model.play(regular, false);
        // The stalled stream's player is stopping; the new one has no media until it has stopped.
        QCOMPARE(model.retiringPlayerCount(), 1);
        QVERIFY(!model.player()->hasMedia());
        QVERIFY(model.waiting());
        // Nothing to pause while the start is pending.
        model.togglePlayback();
        QVERIFY(!model.player()->hasMedia());
        QCOMPARE(model.player()->state(), MediaPlayer::State::Stopped);
        QVERIFY(tickUntil([&] { return model.retiringPlayerCount() == 0; }, 5s));
        QVERIFY(model.player()->hasMedia());
        // The new start has a 35-second window of its own.
        skip(20s);
        QVERIFY(tickUntil([&] { return !model.waiting(); }));
        QCOMPARE(model.playbackError(), std::nullopt);

        // Twenty quick switches leave one player and nothing retiring once they settle.
        for (int switches = 0; switches < 20; ++switches) {
            model.play(switches % 2 ? regular : stalled, false);
            QTest::qWait(40);
        }
        QVERIFY(tickUntil([&] { return model.retiringPlayerCount() == 0 && !model.waiting(); }, 20s));
        QCOMPARE(model.currentChannel(), std::optional<Channel>(regular));
    }

    // A title resumes from ten seconds on, unless it was watched.
    void theResumePointStartsAtTenSeconds_data()
    {
        QTest::addColumn<double>("seconds");
        QTest::addColumn<bool>("watched");
        QTest::addColumn<double>("resume");
        QTest::newRow("9.5 s") << 9.5 << false << 0.0;
        QTest::newRow("10 s") << 10.0 << false << 10.0;
        QTest::newRow("watched") << 20.0 << true << 0.0;
    }

    void theResumePointStartsAtTenSeconds()
    {
        QFETCH(double, seconds);
        QFETCH(bool, watched);
        QFETCH(double, resume);
        QVERIFY(!playFirstMovieFrom(seconds, watched).isEmpty());
        QCOMPARE(m_model->pendingResume(), resume);
    }

    void moviesResumeAndSaveTheirProgress()
    {
        LibraryModel &model = *m_model;
        const QString key = playFirstMovieFrom(12);
        QVERIFY(model.showsCatalogPlayer());
        QCOMPARE(model.historyKey(), std::optional<QString>(key));
        QVERIFY(tickUntil([&] { return model.pendingResume() == 0; }, 20s));
        QVERIFY(model.seekable());
        QVERIFY(model.player()->time().milliseconds() >= 9000);
        QCOMPARE(model.notice(), std::nullopt);

        // The first save comes five seconds after the confirmation.
        QCOMPARE(model.history()->record(key)->seconds, 12.0);
        skip(5s);
        model.tick();
        const double saved = model.history()->record(key)->seconds;
        QVERIFY2(saved > 9 && saved < 20, qPrintable(QString::number(saved)));
        QVERIFY(model.history()->record(key)->duration > 29);

        // A user seek saves any position afterwards; stop() saves once more.
        model.seek(0.1);
        QVERIFY(tickUntil([&] { return model.player()->time().milliseconds() < 6000; }, 5s));
        model.stop();
        const double afterStop = model.history()->record(key)->seconds;
        QVERIFY2(afterStop < 6, qPrintable(QString::number(afterStop)));

        // The next run finds it.
        m_play.preferences->restart();
        QVERIFY(m_play.startModel(m_environment));
        m_model = m_play.model.get();
        QCOMPARE(m_model->history()->record(key)->seconds, afterStop);
    }

    void quittingSavesThePosition()
    {
        LibraryModel &model = *m_model;
        const QString key = playFirstMovieFrom(0);
        QVERIFY(tickUntil([&] { return model.history()->record(key)->seconds > 0; }, 20s));
        const double saved = model.history()->record(key)->seconds;
        QTest::qWait(2000); // playing on, with the next periodic save still seconds away
        // The application's event loop ends: the position is saved on the way out.
        QTimer::singleShot(0, QCoreApplication::instance(), &QCoreApplication::quit);
        QCoreApplication::exec();
        QVERIFY2(model.history()->record(key)->seconds > saved + 1,
                 qPrintable(u"%1 then %2"_s.arg(saved).arg(model.history()->record(key)->seconds)));
    }

    // Further than the 30-second film: the player is sent to 94.9 % of it, five times a second apart,
    // and never gets there; then the resume is given up with a notice.
    void aResumeTheServerCannotReachIsAbandoned()
    {
        LibraryModel &model = *m_model;
        const QString key = playFirstMovieFrom(50);
        // Each seek shows as the position jumping to 0.949 (from the start, or back from later on).
        int seeks = 0;
        float last = 0;
        bool overshot = false;
        std::optional<std::chrono::steady_clock::time_point> firstSeek;
        QVERIFY(tickUntil([&] {
            const float now = model.player()->position();
            if (std::abs(now - 0.949f) < 0.01f && (last < 0.9f || last > now + 0.01f)) {
                ++seeks;
                firstSeek = firstSeek.value_or(std::chrono::steady_clock::now());
            }
            overshot = overshot || now > 0.99f;
            last = now;
            return model.notice().has_value();
        }, 30s));
        QCOMPARE(seeks, 5);
        QVERIFY(!overshot);
        QVERIFY(std::chrono::steady_clock::now() - *firstSeek >= 4s);
        QCOMPARE(model.notice(), std::optional<QString>(Texts::resumeNotConfirmed));
        QCOMPARE(model.pendingResume(), 0.0);
        // Below the floor: the remembered position is kept.
        skip(6s);
        model.tick();
        model.stop();
        QCOMPARE(model.history()->record(key)->seconds, 50.0);
    }

    void audioAndSubtitleTracks()
    {
        LibraryModel &model = *m_model;
        playFirstMovieFrom(0);
        QVERIFY(tickUntil([&] { return model.audioTracks().size() == 2 && !model.waiting(); }, 20s));
        QVERIFY(model.selectedAudio() >= 0);
        const qint32 other = model.audioTracks().at(0).id == model.selectedAudio() ? model.audioTracks().at(1).id
                                                                                    : model.audioTracks().at(0).id;
        model.selectAudio(other);
        QCOMPARE(model.selectedAudio(), other);
        model.selectAudio(9999); // not offered: ignored
        QCOMPARE(model.selectedAudio(), other);

        // The film's own subtitles, then files added to the stream: third-party ones, and forms a
        // guess at the format from the first bytes would refuse though the player reads them.
        QVERIFY(tickUntil([&] { return !model.subtitleTracks().isEmpty(); }, 10s));
        const qsizetype own = model.subtitleTracks().size();
        QUENVO_REQUIRE_FIXTURES();
        const QString folder = Fixtures::directory() + u"/subtitles/"_s;
        QTemporaryDir scratch;
        const auto write = [&scratch](const QString &name, const QByteArray &bytes) {
            QFile file(scratch.filePath(name));
            if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
                return QString();
            return file.fileName();
        };
        const QString cue = u"00:00:00,500 --> 00:00:09,000\nPrimera línia\n\n"_s;
        const QByteArray utf16 = QByteArray("\xFF\xFE")
            + QByteArray(reinterpret_cast<const char *>((u"1\n"_s + cue).utf16()), (u"1\n"_s + cue).size() * 2);
        const QString longHeader = u"[Script Info]\nScriptType: v4.00+\n"_s + u"; comentari\n"_s.repeated(7000)
            + u"\n[V4+ Styles]\nFormat: Name, Fontname, Fontsize\nStyle: Default,Arial,20\n\n[Events]\n"
              u"Format: Layer, Start, End, Style, Text\nDialogue: 0,0:00:00.50,0:00:09.00,Default,Hola\n"_s;
        const QStringList files = {folder + u"subsrt/sample.srt"_s, folder + u"webvtt-py/captions_with_bom.vtt"_s,
            folder + u"pysubs2/ttml_example.ass"_s, write(u"utf16.srt"_s, utf16),
            write(u"zero.srt"_s, (u"0\n"_s + cue).toUtf8()), write(u"events-late.ass"_s, longHeader.toUtf8())};
        QVERIFY(longHeader.toUtf8().indexOf("[Events]") > 64 * 1024);
        for (const QString &file : files) {
            const qsizetype before = model.subtitleTracks().size();
            model.loadSubtitleFile(QUrl::fromLocalFile(file));
            QVERIFY2(tickUntil([&] { return model.subtitleTracks().size() == before + 1; }, 10s), qPrintable(file));
            skip(10s); // long past the time the player has: a track that came in time is not an error
            model.tick();
            QVERIFY2(!model.subtitleError(), qPrintable(file));
        }
        QCOMPARE(model.subtitleTracks().size(), own + files.size());

        // Not subtitles at all: the player takes the path, and no track ever comes of it.
        static const char garbageBytes[] = "\x00\x01\x02 this is not a subtitle file";
        const QString garbage = write(u"garbage.srt"_s, QByteArray(garbageBytes, sizeof garbageBytes - 1));
        const qsizetype before = model.subtitleTracks().size();
        model.loadSubtitleFile(QUrl::fromLocalFile(garbage));
        QCOMPARE(model.subtitleError(), std::nullopt);
        QVERIFY(!tickUntil([&] { return model.subtitleTracks().size() != before; }, 1500ms));
        QCOMPARE(model.subtitleError(), std::nullopt); // still within the time the player has
        skip(5s);
        model.tick();
        QCOMPARE(model.subtitleError(), std::optional<QString>(u"No s’ha pogut carregar aquest fitxer de subtítols."_s));
        // An address that is not a local file is ignored.
        model.loadSubtitleFile(QUrl(u"http://127.0.0.1/x.srt"_s));
        QVERIFY(model.subtitleError().has_value());
        // Choosing a track clears it.
        model.selectSubtitle(model.subtitleTracks().constFirst().id);
        QCOMPARE(model.subtitleError(), std::nullopt);
        QCOMPARE(model.selectedSubtitle(), model.subtitleTracks().constFirst().id);

        // The delay goes to the player in microseconds, within ±60 s.
        for (int press = 0; press < 121; ++press)
            model.setSubtitleDelay(model.subtitleDelay() + 0.5);
        QCOMPARE(model.subtitleDelay(), 60.0);
        QCOMPARE(model.player()->subtitleDelay(), 60'000'000);

        model.stop();
        QVERIFY(model.subtitleTracks().isEmpty());
        QVERIFY(model.audioTracks().isEmpty());
        QCOMPARE(model.selectedSubtitle(), -1);
        QCOMPARE(model.subtitleDelay(), 0.0);
    }

    void episodesFollowEachOtherAcrossSeasons()
    {
        LibraryModel &model = *m_model;
        model.selectSection(LibraryModel::Section::series);
        QVERIFY(QTest::qWaitFor([&] { return !model.catalog()->items().isEmpty(); }, 10000));
        // A series with more than one season.
        std::optional<CatalogDetail> detail;
        for (const CatalogItem &item : model.catalog()->items()) {
            model.catalog()->show(item);
            QVERIFY(QTest::qWaitFor([&] { return model.catalog()->detail().has_value(); }, 10000));
            if (model.catalog()->detail()->seasons().size() > 1) {
                detail = model.catalog()->detail();
                break;
            }
        }
        if (!detail)
            QSKIP("the provider lists no series with two seasons");
        const QList<CatalogEpisode> &episodes = detail->episodes;
        qsizetype lastOfFirst = 0;
        while (episodes.at(lastOfFirst + 1).season == episodes.at(0).season)
            ++lastOfFirst;

        model.playEpisode(episodes.at(lastOfFirst).id);
        QCOMPARE(model.currentChannel(), std::optional<Channel>(episodes.at(lastOfFirst).channel));
        QCOMPARE(model.historyKey(),
                 std::optional<QString>(WatchProgress::key(m_play.provider.account().id, CatalogKind::series, episodes.at(lastOfFirst).id)));
        QCOMPARE(model.nextEpisode(), std::optional<CatalogEpisode>(episodes.at(lastOfFirst + 1)));
        QCOMPARE(model.nextEpisode()->season, episodes.at(0).season + 1);
        model.playNextEpisode();
        QCOMPARE(model.currentChannel(), std::optional<Channel>(episodes.at(lastOfFirst + 1).channel));

        model.playEpisode(episodes.constLast().id);
        QCOMPARE(model.nextEpisode(), std::nullopt);
        // The episode is known by its stream, whatever the channel is called.
        const Channel &stream = episodes.at(0).channel;
        model.playCatalog(Channel(u"Another name"_s, u"Another group"_s, stream.encodedURL(), false));
        QCOMPARE(model.historyKey(),
                 std::optional<QString>(WatchProgress::key(m_play.provider.account().id, CatalogKind::series, episodes.at(0).id)));
        // A live channel has no next episode.
        model.selectSection(LibraryModel::Section::live);
        model.play(liveChannel(ProviderCatalog::LiveKind::regular), false);
        QCOMPARE(model.nextEpisode(), std::nullopt);
    }

    // The video stage exists only for a channel or title: full screen waits for one, and ends with
    // it. The volume reaches every player truncated to a whole number.
    void fullScreenAndVolumeFollowThePlayer()
    {
        LibraryModel &model = *m_model;
        model.setVideoFullScreen(true);
        QVERIFY(!model.videoFullScreen());
        model.play(liveChannel(ProviderCatalog::LiveKind::radio), false);
        QCOMPARE(model.player()->volume(), 80);
        model.setVolume(57.9);
        QCOMPARE(model.player()->volume(), 57);
        model.play(liveChannel(ProviderCatalog::LiveKind::regular), false);
        QCOMPARE(model.player()->volume(), 57);
        model.setVideoFullScreen(true);
        QVERIFY(model.videoFullScreen());
        model.stop();
        QVERIFY(!model.videoFullScreen());
    }

    void tracksArePublishedAsOffered()
    {
        const QList<MediaPlayer::Track> offered{{-1, u"Disable"_s}, {2, QString()}, {3, u"English"_s}};
        const QList<LibraryModel::SubtitleTrack> expected{{2, u"Pista 2"_s}, {3, u"English"_s}};
        QCOMPARE(LibraryModel::selectableTracks(offered), expected);
    }
};

QTEST_GUILESS_MAIN(tst_LibraryPlayback)
#include "tst_library_playback.moc"
