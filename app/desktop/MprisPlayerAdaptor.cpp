#include "MprisPlayerAdaptor.h"

#include "Mpris.h"
#include "MediaPlayer.h"
#include "models/CatalogModel.h"
#include "models/LibraryModel.h"
#include "models/ProgrammeGuide.h"
#include "records/CatalogDetail.h"

#include <QDBusConnection>
#include <QDBusMessage>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr qlonglong microsecondsPerMillisecond = 1000;

const QString playerInterface = u"org.mpris.MediaPlayer2.Player"_s;

} // namespace

MprisPlayerAdaptor::MprisPlayerAdaptor(Mpris *mpris, LibraryModel &library)
    : QDBusAbstractAdaptor(mpris)
    , m_mpris(mpris)
    , m_library(library)
{
    // Everything PlaybackStatus, Metadata, Volume and the Can… properties are made of.
    for (auto changed : {&LibraryModel::currentChannelChanged, &LibraryModel::isPlayingChanged,
                         &LibraryModel::waitingChanged, &LibraryModel::playbackErrorChanged,
                         &LibraryModel::isOnDemandChanged, &LibraryModel::seekableChanged,
                         &LibraryModel::durationLabelChanged, &LibraryModel::volumeChanged,
                         &LibraryModel::activeSourceChanged})
        connect(&library, changed, this, &MprisPlayerAdaptor::scheduleAnnouncement);
    connect(library.catalog(), &CatalogModel::detailChanged, this, &MprisPlayerAdaptor::scheduleAnnouncement);
    m_announced = announced();
}

QString MprisPlayerAdaptor::playbackStatus() const
{
    if (!m_library.currentChannel() || m_library.playbackError())
        return u"Stopped"_s;
    return m_library.isPlaying() || m_library.waiting() ? u"Playing"_s : u"Paused"_s;
}

QDBusObjectPath MprisPlayerAdaptor::trackID() const
{
    if (const std::optional<Channel> &channel = m_library.currentChannel())
        return QDBusObjectPath(u"/app/quenvo/Quenvo/track/"_s + channel->id()); // hexadecimal digits
    return QDBusObjectPath(u"/org/mpris/MediaPlayer2/TrackList/NoTrack"_s);
}

QVariantMap MprisPlayerAdaptor::metadata() const
{
    QVariantMap metadata{{u"mpris:trackid"_s, QVariant::fromValue(trackID())}};
    const std::optional<Channel> &channel = m_library.currentChannel();
    if (!channel)
        return metadata;
    metadata.insert(u"xesam:title"_s, channel->name());
    if (const std::optional<PlaylistSource> source = m_library.activeSource())
        metadata.insert(u"xesam:album"_s, source->name);
    if (const qlonglong duration = length(); duration > 0)
        metadata.insert(u"mpris:length"_s, duration);
    if (m_library.isOnDemand()) {
        // Titles show their poster; live channels their list's logo.
        if (const std::optional<CatalogDetail> &detail = m_library.catalog()->detail()) {
            const std::optional<QUrl> poster = detail->poster ? detail->poster : detail->item.poster;
            if (poster)
                metadata.insert(u"mpris:artUrl"_s, poster->toString(QUrl::FullyEncoded));
        }
    } else if (const QString logo = m_library.guide()->logoOf(channel->id()); !logo.isEmpty()) {
        metadata.insert(u"mpris:artUrl"_s, logo);
    }
    return metadata;
}

double MprisPlayerAdaptor::volume() const
{
    return m_library.volume() / 100.0;
}

void MprisPlayerAdaptor::setVolume(double volume)
{
    if (!(volume >= 0)) // NaN is not at or above 0
        volume = 0;
    m_library.setVolume(std::min(volume, 1.0) * 100.0);
}

qlonglong MprisPlayerAdaptor::position() const
{
    if (!m_library.currentChannel())
        return 0;
    return m_library.player()->time().milliseconds() * microsecondsPerMillisecond;
}

qlonglong MprisPlayerAdaptor::length() const
{
    if (!m_library.isOnDemand() || !m_library.currentChannel())
        return 0;
    return m_library.player()->length().milliseconds() * microsecondsPerMillisecond;
}

bool MprisPlayerAdaptor::canPlay() const
{
    return m_library.currentChannel().has_value();
}

bool MprisPlayerAdaptor::canPause() const
{
    return m_library.currentChannel() && !m_library.playbackError();
}

bool MprisPlayerAdaptor::canSeek() const
{
    return m_library.seekable() && length() > 0;
}

void MprisPlayerAdaptor::Pause()
{
    if (playbackStatus() == "Playing"_L1)
        m_library.togglePlayback();
}

void MprisPlayerAdaptor::Play()
{
    if (!m_library.currentChannel())
        return;
    // After a failure, Play starts the channel again, as the pane's retry button does.
    if (m_library.playbackError())
        m_library.retryPlayback();
    else if (playbackStatus() == "Paused"_L1)
        m_library.togglePlayback();
}

void MprisPlayerAdaptor::PlayPause()
{
    if (playbackStatus() == "Playing"_L1)
        Pause();
    else
        Play();
}

void MprisPlayerAdaptor::Stop()
{
    m_library.stop();
}

void MprisPlayerAdaptor::Seek(qlonglong offset)
{
    if (!canSeek())
        return;
    // Past the end there is no next track to go to: nothing happens.
    const qlonglong target = std::max<qlonglong>(position() + offset, 0);
    if (target <= length())
        seekTo(target);
}

void MprisPlayerAdaptor::SetPosition(const QDBusObjectPath &track, qlonglong position)
{
    // A request meant for an earlier track is ignored, as are positions outside the media.
    if (!canSeek() || track != trackID() || position < 0 || position > length())
        return;
    seekTo(position);
}

void MprisPlayerAdaptor::seekTo(qlonglong position)
{
    m_library.seek(double(position) / double(length()));
    Q_EMIT Seeked(position);
}

void MprisPlayerAdaptor::OpenUri(const QString &uri)
{
    Q_EMIT m_mpris->openRequested({uri});
}

QVariantMap MprisPlayerAdaptor::announced() const
{
    return {{u"PlaybackStatus"_s, playbackStatus()}, {u"Metadata"_s, metadata()},
            {u"Volume"_s, volume()},                {u"CanPlay"_s, canPlay()},
            {u"CanPause"_s, canPause()},            {u"CanSeek"_s, canSeek()}};
}

// One operation of the model changes several properties one after the other (a new channel is
// current before it is waiting to start): what they add up to is announced once control returns to
// the event loop, so that no passing state reaches the desktop.
void MprisPlayerAdaptor::scheduleAnnouncement()
{
    if (std::exchange(m_announcementScheduled, true))
        return;
    QMetaObject::invokeMethod(this, &MprisPlayerAdaptor::announceChanges, Qt::QueuedConnection);
}

void MprisPlayerAdaptor::announceChanges()
{
    m_announcementScheduled = false;
    const QVariantMap now = announced();
    QVariantMap changed;
    for (auto property = now.cbegin(); property != now.cend(); ++property) {
        if (m_announced.value(property.key()) != property.value())
            changed.insert(property.key(), property.value());
    }
    m_announced = now;
    if (changed.isEmpty())
        return;
    QDBusMessage signal = QDBusMessage::createSignal(Mpris::objectPath, u"org.freedesktop.DBus.Properties"_s,
                                                     u"PropertiesChanged"_s);
    signal << playerInterface << changed << QStringList();
    m_mpris->bus().send(signal);
}
