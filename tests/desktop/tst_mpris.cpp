// The MPRIS 2 interface, read and called over the private session bus from a second connection (as
// a desktop widget or playerctl would), while the library model plays the local provider's streams
// through real libVLC: identity, PlaybackStatus and Metadata kept in step with PropertiesChanged,
// the transport commands, volume, and position and seeking for a movie.

#include "BusTestSupport.h"
#include "PlayingLibrary.h"
#include "desktop/Mpris.h"
#include "models/CatalogModel.h"
#include "models/LibraryModel.h"
#include "records/CatalogDetail.h"

#include <QDBusObjectPath>
#include <QSignalSpy>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

const QString root = u"org.mpris.MediaPlayer2"_s;
const QString playerInterface = u"org.mpris.MediaPlayer2.Player"_s;
const QString noTrack = u"/org/mpris/MediaPlayer2/TrackList/NoTrack"_s;

} // namespace

// The Seeked signals a remote sees.
class SeekedRecorder : public QObject
{
    Q_OBJECT

public:
    QList<qlonglong> positions;

public Q_SLOTS:
    void record(qlonglong position) { positions.append(position); }
};

class tst_Mpris : public QObject
{
    Q_OBJECT

private:
    PlayingLibrary m_play;
    LibraryModel *m_model = nullptr;
    QDBusConnection m_remote = BusTest::otherConnection(u"remote control"_s);
    std::unique_ptr<Mpris> m_mpris;
    std::unique_ptr<BusTest::PropertiesChanged> m_changes;

    QVariant get(const QString &interface, const QString &name)
    {
        return BusTest::property(m_remote, Mpris::serviceName, Mpris::objectPath, interface, name);
    }
    QVariant player(const QString &name) { return get(playerInterface, name); }
    QVariantMap metadata() { return player(u"Metadata"_s).toMap(); }

    QDBusMessage command(const QString &name, const QVariantList &arguments = {})
    {
        return BusTest::call(m_remote, BusTest::method(Mpris::serviceName, Mpris::objectPath, playerInterface, name,
                                                       arguments));
    }

    Channel liveChannel(ProviderCatalog::LiveKind kind) const { return m_play.liveChannel(kind); }

private Q_SLOTS:
    void initTestCase()
    {
        if (qgetenv("QUENVO_SECRET_SERVICE") != "unlocked")
            QSKIP("runs only inside its own D-Bus session with a throw-away keyring (scripts/with-secret-service.sh)");
        QVERIFY(m_remote.isConnected());
        ProviderOptions options;
        options.liveChannels = 6;
        options.movies = 2;
        options.series = 1;
        options.categories = 1;
        QVERIFY2(m_play.startProvider(options), qPrintable(m_play.provider.server().errorString()));
        if (!m_play.provider.mediaProblem().isEmpty())
            QSKIP(qPrintable(m_play.provider.mediaProblem()));
    }

    void init()
    {
        LibraryModel::Environment environment; // the model's own 0.5-second tick runs
        environment.keychainService = u"test.quenvo.mpris"_s;
        QVERIFY(m_play.connect(environment));
        m_model = m_play.model.get();
        m_mpris = std::make_unique<Mpris>(*m_model);
        QVERIFY(m_mpris->start());
        m_changes = std::make_unique<BusTest::PropertiesChanged>(m_remote, Mpris::objectPath);
    }

    void cleanup()
    {
        m_changes.reset();
        m_mpris.reset();
        m_play.finish();
    }

    // Who the player is, what it offers with nothing playing, and its volume set from either side.
    void beforeAnythingPlays()
    {
        QCOMPARE(get(root, u"Identity"_s), QVariant(u"Quenvo"_s));
        QCOMPARE(get(root, u"DesktopEntry"_s), QVariant(u"app.quenvo.Quenvo"_s));
        QCOMPARE(get(root, u"CanQuit"_s), QVariant(true));
        QCOMPARE(get(root, u"CanRaise"_s), QVariant(true));
        QCOMPARE(get(root, u"HasTrackList"_s), QVariant(false));
        QVERIFY(get(root, u"SupportedMimeTypes"_s).toStringList().contains(u"audio/x-mpegurl"_s));

        QSignalSpy raise(m_mpris.get(), &Mpris::raiseRequested);
        QSignalSpy quit(m_mpris.get(), &Mpris::quitRequested);
        QCOMPARE(BusTest::call(m_remote, BusTest::method(Mpris::serviceName, Mpris::objectPath, root, u"Raise"_s)).type(),
                 QDBusMessage::ReplyMessage);
        QCOMPARE(raise.size(), 1);
        QCOMPARE(quit.size(), 0);
        BusTest::call(m_remote, BusTest::method(Mpris::serviceName, Mpris::objectPath, root, u"Quit"_s));
        QCOMPARE(quit.size(), 1);

        // Nothing playing yet.
        QCOMPARE(player(u"PlaybackStatus"_s), QVariant(u"Stopped"_s));
        QCOMPARE(metadata().value(u"mpris:trackid"_s).value<QDBusObjectPath>().path(), noTrack);
        QCOMPARE(metadata().size(), 1);
        for (const QString &name : {u"CanPlay"_s, u"CanPause"_s, u"CanSeek"_s, u"CanGoNext"_s, u"CanGoPrevious"_s})
            QCOMPARE(player(name), QVariant(false));
        QCOMPARE(player(u"CanControl"_s), QVariant(true));
        QCOMPARE(player(u"Position"_s), QVariant(qlonglong(0)));
        // Commands with nothing current change nothing.
        command(u"Play"_s);
        command(u"PlayPause"_s);
        QCOMPARE(m_model->currentChannel(), std::optional<Channel>());
        QCOMPARE(player(u"PlaybackStatus"_s), QVariant(u"Stopped"_s));

        QVERIFY(BusTest::setProperty(
            m_remote, Mpris::serviceName, Mpris::objectPath, playerInterface, u"Volume"_s, 0.25));
        QCOMPARE(m_model->volume(), 25.0);
        QTRY_COMPARE(m_changes->last(u"Volume"_s), QVariant(0.25));
        m_model->setVolume(60);
        QTRY_COMPARE(m_changes->last(u"Volume"_s), QVariant(0.6));
        QCOMPARE(player(u"Volume"_s), QVariant(0.6));
        // Out of range: held to the model's 0–100.
        BusTest::setProperty(
            m_remote, Mpris::serviceName, Mpris::objectPath, playerInterface, u"Volume"_s, 1.5);
        QCOMPARE(m_model->volume(), 100.0);
        BusTest::setProperty(
            m_remote, Mpris::serviceName, Mpris::objectPath, playerInterface, u"Volume"_s, -1.0);
        QCOMPARE(m_model->volume(), 0.0);
    }

    void aLiveChannelPlaysPausesStopsAndFails()
    {
        const Channel channel = liveChannel(ProviderCatalog::LiveKind::regular);
        m_model->play(channel, false);
        QTRY_COMPARE_WITH_TIMEOUT(m_changes->last(u"PlaybackStatus"_s), QVariant(u"Playing"_s), 15000);
        const QVariantMap playing = m_changes->last(u"Metadata"_s).toMap();
        QCOMPARE(playing.value(u"xesam:title"_s), QVariant(channel.name()));
        QCOMPARE(playing.value(u"xesam:album"_s), QVariant(u"Demo"_s));
        QVERIFY(playing.value(u"mpris:trackid"_s).value<QDBusObjectPath>().path().endsWith(channel.id()));
        QVERIFY(!playing.contains(u"mpris:length"_s)); // live: no length
        // The list's logo for the channel.
        const ProviderCatalog &catalog = m_play.provider.server().catalog();
        const int index = catalog.liveChannelIndex(ProviderCatalog::LiveKind::regular);
        QCOMPARE(playing.value(u"mpris:artUrl"_s).toString(),
            m_play.provider.server().url(u"/images/logo-%1.png"_s.arg(catalog.liveChannelLogo(index))).toString());
        QCOMPARE(metadata(), playing); // what is read is what was announced
        QCOMPARE(player(u"CanPause"_s), QVariant(true));
        QCOMPARE(player(u"CanSeek"_s), QVariant(false));
        // Really playing: the picture counts before the position moves.
        QTRY_VERIFY_WITH_TIMEOUT(m_model->isPlaying() && !m_model->waiting(), 15000);
        QTRY_VERIFY_WITH_TIMEOUT(player(u"Position"_s).toLongLong() > 0, 10000);

        command(u"Pause"_s);
        QTRY_COMPARE_WITH_TIMEOUT(m_changes->last(u"PlaybackStatus"_s), QVariant(u"Paused"_s), 10000);
        QVERIFY(!m_model->isPlaying());
        QCOMPARE(player(u"PlaybackStatus"_s), QVariant(u"Paused"_s));

        command(u"PlayPause"_s);
        QTRY_COMPARE_WITH_TIMEOUT(m_changes->last(u"PlaybackStatus"_s), QVariant(u"Playing"_s), 10000);
        QTRY_VERIFY(m_model->isPlaying());

        command(u"Stop"_s);
        QTRY_COMPARE_WITH_TIMEOUT(m_changes->last(u"PlaybackStatus"_s), QVariant(u"Stopped"_s), 10000);
        QCOMPARE(m_model->currentChannel(), std::optional<Channel>());
        QCOMPARE(m_changes->last(u"Metadata"_s).toMap().value(u"mpris:trackid"_s).value<QDBusObjectPath>().path(),
                 noTrack);
        QCOMPARE(m_changes->last(u"CanPlay"_s), QVariant(false));
        // Each status was announced once per change, never repeated.
        QStringList statuses;
        for (const QVariantMap &change : std::as_const(m_changes->changes)) {
            if (change.contains(u"PlaybackStatus"_s))
                statuses.append(change.value(u"PlaybackStatus"_s).toString());
        }
        QCOMPARE(statuses.join(u" "_s), u"Playing Paused Playing Stopped"_s);

        // A channel that fails reads stopped.
        m_model->play(liveChannel(ProviderCatalog::LiveKind::missing), false);
        QTRY_VERIFY_WITH_TIMEOUT(m_model->playbackError().has_value(), 15000);
        QTRY_COMPARE(player(u"PlaybackStatus"_s), QVariant(u"Stopped"_s));
        QCOMPARE(player(u"CanPause"_s), QVariant(false));
        QCOMPARE(player(u"CanPlay"_s), QVariant(true)); // Play tries the channel again
    }

    void aMovieHasALengthAPosterAndSeeks()
    {
        QVERIFY(m_play.openFirstMovie());
        const CatalogDetail detail = *m_model->catalog()->detail();
        m_model->playMovie();
        QTRY_VERIFY_WITH_TIMEOUT(m_changes->last(u"Metadata"_s).toMap().contains(u"mpris:length"_s), 15000);
        QTRY_COMPARE_WITH_TIMEOUT(m_changes->last(u"CanSeek"_s), QVariant(true), 15000);
        const QVariantMap playing = metadata();
        const qlonglong length = playing.value(u"mpris:length"_s).toLongLong();
        QCOMPARE(length, m_model->player()->length().milliseconds() * 1000);
        QVERIFY(length > 2'000'000);
        QCOMPARE(playing.value(u"xesam:title"_s), QVariant(m_model->currentChannel()->name()));
        const std::optional<QUrl> poster = detail.poster ? detail.poster : detail.item.poster;
        QVERIFY(poster.has_value());
        QCOMPARE(playing.value(u"mpris:artUrl"_s), QVariant(poster->toString(QUrl::FullyEncoded)));

        SeekedRecorder seeked;
        m_remote.connect(QString(), Mpris::objectPath, playerInterface, u"Seeked"_s, &seeked, SLOT(record(qlonglong)));

        // An id of another track is ignored; the current one moves to the middle.
        const QDBusObjectPath track = playing.value(u"mpris:trackid"_s).value<QDBusObjectPath>();
        command(u"SetPosition"_s, {QVariant::fromValue(QDBusObjectPath(u"/app/quenvo/Quenvo/track/other"_s)), length / 2});
        QVERIFY(m_model->player()->position() < 0.3);
        command(u"SetPosition"_s, {QVariant::fromValue(track), length / 2});
        QTRY_COMPARE(seeked.positions, QList<qlonglong>{length / 2});
        QTRY_VERIFY_WITH_TIMEOUT(std::abs(m_model->player()->position() - 0.5) < 0.1, 10000);
        QTRY_VERIFY(std::abs(player(u"Position"_s).toLongLong() - length / 2) < length / 10);

        // Seek is relative; before the start it stops at the start.
        command(u"Seek"_s, {qlonglong(-length)});
        QTRY_VERIFY_WITH_TIMEOUT(m_model->player()->position() < 0.1, 10000);
        QTRY_COMPARE(seeked.positions, (QList<qlonglong>{length / 2, 0}));
    }
};

QTEST_MAIN(tst_Mpris)
#include "tst_mpris.moc"
