// The library model's playback: one channel, movie or episode at a time through a MediaPlayer;
// a 0.5-second tick that publishes time, position, length, statistics and tracks, decides that media
// is really arriving, turns player states into messages and gives up after 35 seconds without media;
// players retired safely before the next stream starts; resume and progress of movies and episodes;
// subtitle and audio tracks.

#include "CatalogModel.h"
#include "ChannelListModel.h"
#include "LibraryModel.h"
#include "Publish.h"
#include "records/CatalogDetail.h"
#include "records/WatchProgress.h"
#include "stores/WatchHistory.h"

#include <QCoreApplication>
#include <QTimer>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto tickInterval = 500ms;
constexpr double startTimeout = 35.0;       // seconds without a picture or a sound
constexpr double saveInterval = 5.0;
constexpr double resumeTolerance = 3.0;
constexpr double resumeRetryInterval = 1.0;
constexpr int resumeAttemptLimit = 5;
constexpr float resumeCeiling = 0.949f;     // never seek a resume point past this share of the length
constexpr double subtitleDelayLimit = 60.0;

QString undefinedTime()
{
    return u"--:--"_s;
}

// How long the player has to turn a subtitle file into a track; it reads one within a tick or two.
constexpr auto subtitleFileTimeout = std::chrono::seconds(5);

QString subtitleFileError()
{
    return u"No s’ha pogut carregar aquest fitxer de subtítols."_s;
}

QString zeroTime()
{
    return u"00:00"_s;
}

QVariantList forViews(const QList<LibraryModel::SubtitleTrack> &tracks)
{
    QVariantList list;
    list.reserve(tracks.size());
    for (const LibraryModel::SubtitleTrack &track : tracks)
        list.append(QVariantMap{{u"id"_s, track.id}, {u"name"_s, track.name}});
    return list;
}

} // namespace

// --- starting and stopping ----------------------------------------------------------------------------

void LibraryModel::makePlayer()
{
    m_player = std::make_unique<MediaPlayer>();
    MediaPlayer *player = m_player.get();
    connect(player, &MediaPlayer::stateChanged, this,
            [this, player](MediaPlayer::State state) { playerStateChanged(player, int(state)); });
    m_hasStarted = false;
    m_receivedMedia = false;
    Q_EMIT playerChanged();
}

void LibraryModel::play(const Channel &channel, bool onDemand)
{
    stop();
    setIsOnDemand(onDemand);
    setCurrentChannel(channel);
    if (channel.requiresCustomHeaders()) {
        setPlaybackError(u"Aquest canal exigeix capçaleres HTTP personalitzades. Aquesta primera versió del "
                         u"reproductor natiu encara no les admet."_s);
        return;
    }
    m_pendingChannel = channel;
    setWaiting(true);
    m_playbackStarted = m_clock();
    startPendingChannel();
    if (m_pollPlayback) {
        m_playbackTimer = new QTimer(this);
        m_playbackTimer->setInterval(tickInterval);
        connect(m_playbackTimer, &QTimer::timeout, this, &LibraryModel::tick);
        m_playbackTimer->start();
    }
}

void LibraryModel::playAt(int row)
{
    if (row >= 0 && row < m_channelList->count())
        play(m_channelList->channelAt(row), false);
}

// A new stream starts only once no old player is still stopping: two players never fight over the
// connection, the decoder or the picture.
void LibraryModel::startPendingChannel()
{
    if (!m_retiringPlayers.empty() || !m_pendingChannel)
        return;
    const Channel channel = *std::exchange(m_pendingChannel, std::nullopt);
    // The address as the playlist wrote it: a server may tell apart what URL rules call the same.
    m_player->setMedia(channel.encodedURL());
    m_player->setVolume(int(m_volume));
    m_hasStarted = true;
    m_player->play();
}

void LibraryModel::stop()
{
    saveProgress();
    resetResume();

    setAudioTracks({});
    setSelectedAudio(-1);
    setAudioControlsOpen(false);
    setVideoFullScreen(false);
    setShowsCatalogPlayer(false);
    setIsOnDemand(false);
    setSeekable(false);
    setPlaybackPosition(0);
    setDurationLabel(undefinedTime());

    if (QTimer *timer = std::exchange(m_playbackTimer, nullptr)) {
        timer->stop();
        timer->deleteLater();
    }
    m_pendingChannel.reset();

    retirePlayer();
    makePlayer();

    setCurrentChannel(std::nullopt);
    setPlaybackError(std::nullopt);
    setWaiting(false);
    setIsPlaying(false);
    setElapsed(zeroTime());
    setDiagnostics(QString());
    m_playbackStarted.reset();

    setSubtitleTracks({});
    setSelectedSubtitle(-1);
    publish(this, m_subtitleDelay, 0.0, &LibraryModel::subtitleDelayChanged);
    setSubtitleError(std::nullopt);
    m_subtitleFileCheck.reset();
    setSubtitleControlsOpen(false);
}

// A player that has finished (stopped, ended, failed) is let go at once; one still opening or playing
// is kept until it reports that it has stopped, and the next stream waits for it.
void LibraryModel::retirePlayer()
{
    if (!m_player)
        return;
    std::unique_ptr<MediaPlayer> old = std::move(m_player);
    if (!m_hasStarted) {
        old.release()->deleteLater();
        return;
    }
    const MediaPlayer::State state = old->state();
    if (state == MediaPlayer::State::Stopped || state == MediaPlayer::State::Ended
        || state == MediaPlayer::State::Error) {
        disconnect(old.get(), nullptr, this, nullptr);
        old->stop();
        old.release()->deleteLater();
        return;
    }
    MediaPlayer *player = old.get();
    m_retiringPlayers.push_back(std::move(old));
    player->stop();
}

void LibraryModel::playerStateChanged(MediaPlayer *player, int state)
{
    // The current player is observed through the tick only.
    if (MediaPlayer::State(state) != MediaPlayer::State::Stopped)
        return;
    const auto retiring = std::find_if(m_retiringPlayers.begin(), m_retiringPlayers.end(),
                                       [player](const auto &candidate) { return candidate.get() == player; });
    if (retiring == m_retiringPlayers.end())
        return;
    disconnect(player, nullptr, this, nullptr);
    player->setMedia(QUrl());
    // Still inside the player's own signal: released once it has returned.
    retiring->release()->deleteLater();
    m_retiringPlayers.erase(retiring);
    startPendingChannel();
}

// --- the tick -------------------------------------------------------------------------------------------

void LibraryModel::tick()
{
    if (!m_currentChannel)
        return;
    MediaPlayer &player = *m_player;
    setIsPlaying(player.isPlaying());
    setElapsed(player.time().text());
    setSeekable(m_isOnDemand && player.isSeekable());
    setPlaybackPosition(player.position());
    setDurationLabel(player.hasMedia() ? player.length().text() : undefinedTime());

    updateTracks();
    resumeStep();
    if (secondsPassed(m_lastHistorySave, saveInterval))
        saveProgress();

    if (player.hasMedia()) {
        const MediaPlayer::Statistics statistics = player.statistics();
        setDiagnostics(u"Vídeo: %1 fotogrames · Àudio: %2 blocs"_s.arg(statistics.displayedPictures)
                           .arg(statistics.playedAudioBuffers));
        if (statistics.displayedPictures > 0 || statistics.playedAudioBuffers > 0) {
            setWaiting(false);
            m_receivedMedia = true;
        }
    }

    switch (player.state()) {
    case MediaPlayer::State::Ended:
        // An end before any media is left to the watchdog: the stream never really started.
        if (m_receivedMedia) {
            saveProgress();
            setWaiting(false);
            if (!m_isOnDemand)
                setPlaybackError(u"L’emissió s’ha acabat. Pots tornar a obrir el canal."_s);
        }
        break;
    case MediaPlayer::State::Paused:
        setWaiting(false);
        break;
    case MediaPlayer::State::Error:
        setPlaybackError(u"No es pot obrir aquest canal. El servidor pot no tenir el flux disponible. Prova un "
                         u"altre canal o torna-ho a provar."_s);
        setWaiting(false);
        break;
    default:
        break;
    }

    if (!m_receivedMedia && !m_playbackError && m_playbackStarted
        && std::chrono::duration<double>(m_clock() - *m_playbackStarted).count() > startTimeout) {
        m_pendingChannel.reset();
        player.stop();
        setPlaybackError(u"El canal no ha començat a reproduir-se en 35 segons. Prova un altre canal o torna-ho a "
                         u"provar."_s);
        setWaiting(false);
    }
}

bool LibraryModel::secondsPassed(const std::optional<TimePoint> &since, double seconds) const
{
    return !since || std::chrono::duration<double>(m_clock() - *since).count() >= seconds;
}

// --- commands -------------------------------------------------------------------------------------------

void LibraryModel::togglePlayback()
{
    if (!m_currentChannel || m_pendingChannel || !m_hasStarted || m_playbackError)
        return;
    if (m_player->isPlaying())
        m_player->pause();
    else
        m_player->play();
}

void LibraryModel::seek(double fraction)
{
    if (!m_seekable)
        return;
    m_pendingResume = 0;
    m_resumeSaveFloor = 0;
    const double clamped = fraction > 0 ? std::min(fraction, 1.0) : 0.0; // NaN is not above 0
    m_player->setPosition(float(clamped));
}

void LibraryModel::retryPlayback()
{
    if (!m_currentChannel)
        return;
    const Channel channel = *m_currentChannel;
    if (m_isOnDemand)
        playCatalog(channel);
    else
        play(channel, false);
}

void LibraryModel::setVolume(double volume)
{
    if (publish(this, m_volume, volume, &LibraryModel::volumeChanged))
        m_player->setVolume(int(m_volume)); // 57.9 plays at 57
}

bool LibraryModel::isCurrentPlayer(QObject *player) const
{
    return player && player == m_player.get();
}

// --- movies and episodes ----------------------------------------------------------------------------------

void LibraryModel::playCatalog(const Channel &channel)
{
    std::optional<QString> key;
    const std::optional<CatalogDetail> &detail = m_catalog->detail();
    if (m_activeID && detail) {
        if (detail->movie && detail->movie->id() == channel.id()) {
            key = WatchProgress::key(*m_activeID, detail->item.kind, detail->item.id);
        } else {
            // By the stream's identity: the same stream under another name is the same episode.
            const auto episode = std::find_if(detail->episodes.cbegin(), detail->episodes.cend(),
                [&channel](const CatalogEpisode &e) { return e.channel.digest() == channel.digest(); });
            if (episode != detail->episodes.cend())
                key = WatchProgress::key(*m_activeID, detail->item.kind, episode->id);
        }
    }

    play(channel, true);
    m_historyKey = key;
    double resumePoint = 0;
    if (key) {
        const std::optional<WatchProgress> record = m_history->record(*key);
        if (record && !record->watched && record->seconds >= WatchProgress::leastResumeSeconds)
            resumePoint = record->seconds;
    }
    m_pendingResume = m_resumeSaveFloor = resumePoint;
    setShowsCatalogPlayer(true);
}

void LibraryModel::playMovie()
{
    const std::optional<CatalogDetail> &detail = m_catalog->detail();
    if (detail && detail->movie)
        playCatalog(*detail->movie);
}

void LibraryModel::playEpisode(const QString &episodeID)
{
    const std::optional<CatalogDetail> &detail = m_catalog->detail();
    if (!detail)
        return;
    for (const CatalogEpisode &episode : detail->episodes) {
        if (episode.id == episodeID) {
            playCatalog(episode.channel);
            return;
        }
    }
}

void LibraryModel::playNextEpisode()
{
    if (const std::optional<CatalogEpisode> next = nextEpisode())
        playCatalog(next->channel);
}

std::optional<CatalogEpisode> LibraryModel::nextEpisode() const
{
    const std::optional<CatalogDetail> &detail = m_catalog->detail();
    if (!m_isOnDemand || !m_currentChannel || !detail || detail->item.kind != CatalogKind::series)
        return std::nullopt;
    const QList<CatalogEpisode> &episodes = detail->episodes;
    for (qsizetype index = 0; index < episodes.size(); ++index) {
        if (episodes.at(index).channel.id() == m_currentChannel->id())
            return index + 1 < episodes.size() ? std::optional(episodes.at(index + 1)) : std::nullopt;
    }
    return std::nullopt;
}

// Servers often ignore a seek made while the stream is still starting: the resume point is sought
// again, a second apart, until the player lands near it, at most five times.
void LibraryModel::resumeStep()
{
    MediaPlayer &player = *m_player;
    if (m_pendingResume <= 0 || !m_seekable || !m_receivedMedia || !player.isPlaying())
        return;
    const qint64 time = player.time().milliseconds();
    const qint64 length = player.length().milliseconds();
    if (time <= 0 || length <= 0)
        return;
    const double seconds = double(time) / 1000;
    if (std::abs(seconds - m_pendingResume) < resumeTolerance || seconds > m_pendingResume) {
        m_pendingResume = 0;
        m_lastHistorySave = m_clock();
        return;
    }
    if (!secondsPassed(m_lastResumeAttempt, resumeRetryInterval))
        return;
    if (m_resumeAttempts < resumeAttemptLimit) {
        player.setPosition(std::min(float(m_pendingResume / (double(length) / 1000)), resumeCeiling));
        m_lastResumeAttempt = m_clock();
        ++m_resumeAttempts;
    } else {
        // Abandoned; the floor stays, so the early position never overwrites the remembered one.
        setNotice(u"El servidor no ha confirmat el punt de represa. Pots avançar manualment amb la barra "
                  u"temporal."_s);
        m_pendingResume = 0;
    }
}

void LibraryModel::saveProgress()
{
    if (!m_isOnDemand || !m_historyKey || !m_receivedMedia || m_pendingResume != 0 || !m_player
        || !m_player->hasMedia())
        return;
    const qint64 length = m_player->length().milliseconds();
    if (length <= 0)
        return;
    const double seconds = double(m_player->time().milliseconds()) / 1000;
    if (seconds > 0 && seconds >= m_resumeSaveFloor)
        m_history->update(*m_historyKey, seconds, double(length) / 1000);
    m_lastHistorySave = m_clock();
}

void LibraryModel::resetResume()
{
    m_historyKey.reset();
    m_pendingResume = 0;
    m_lastHistorySave.reset();
    m_resumeAttempts = 0;
    m_lastResumeAttempt.reset();
    m_resumeSaveFloor = 0;
}

// --- tracks -----------------------------------------------------------------------------------------------

QList<LibraryModel::SubtitleTrack> LibraryModel::selectableTracks(const QList<MediaPlayer::Track> &tracks)
{
    QList<SubtitleTrack> selectable;
    for (const MediaPlayer::Track &track : tracks) {
        if (track.id < 0)
            continue;
        selectable.append({track.id, track.name.isEmpty() ? u"Pista %1"_s.arg(track.id) : track.name});
    }
    return selectable;
}

void LibraryModel::updateTracks()
{
    setSubtitleTracks(selectableTracks(m_player->subtitleTracks()));
    setSelectedSubtitle(m_player->currentSubtitleTrack());
    checkSubtitleFile();
    setAudioTracks(selectableTracks(m_player->audioTracks()));
    setSelectedAudio(m_player->currentAudioTrack());
}

void LibraryModel::selectSubtitle(int id)
{
    if (id != -1 && std::none_of(m_subtitleTracks.cbegin(), m_subtitleTracks.cend(),
                                 [id](const SubtitleTrack &track) { return track.id == id; }))
        return;
    m_player->setCurrentSubtitleTrack(id);
    setSelectedSubtitle(m_player->currentSubtitleTrack());
    setSubtitleError(std::nullopt);
}

void LibraryModel::selectAudio(int id)
{
    if (id != -1 && std::none_of(m_audioTracks.cbegin(), m_audioTracks.cend(),
                                 [id](const SubtitleTrack &track) { return track.id == id; }))
        return;
    m_player->setCurrentAudioTrack(id);
    setSelectedAudio(m_player->currentAudioTrack());
}

void LibraryModel::setSubtitleDelay(double seconds)
{
    const double delay = std::isnan(seconds) ? subtitleDelayLimit
                                             : std::clamp(seconds, -subtitleDelayLimit, subtitleDelayLimit);
    publish(this, m_subtitleDelay, delay, &LibraryModel::subtitleDelayChanged);
    m_player->setSubtitleDelay(qint64(m_subtitleDelay * 1'000'000));
}

void LibraryModel::loadSubtitleFile(const QUrl &url)
{
    if (!m_currentChannel || !m_hasStarted || !url.isLocalFile())
        return;
    QList<int> tracksBefore;
    for (const MediaPlayer::Track &track : m_player->subtitleTracks())
        tracksBefore.append(track.id);
    if (!m_player->addSubtitleFile(url, true)) {
        m_subtitleFileCheck.reset();
        setSubtitleError(subtitleFileError());
    } else {
        // libVLC takes any path and reads the file afterwards: a file it cannot read simply never
        // becomes a track. Whether the file is good is the player's to say, by the track appearing.
        m_subtitleFileCheck = SubtitleFileCheck{tracksBefore, m_clock() + subtitleFileTimeout};
        setSubtitleError(std::nullopt);
    }
    updateTracks();
}

void LibraryModel::checkSubtitleFile()
{
    if (!m_subtitleFileCheck)
        return;
    const QList<int> &before = m_subtitleFileCheck->tracksBefore;
    const bool appeared = std::any_of(m_subtitleTracks.cbegin(), m_subtitleTracks.cend(),
                                      [&before](const SubtitleTrack &track) { return !before.contains(track.id); });
    if (appeared) {
        m_subtitleFileCheck.reset();
    } else if (m_clock() >= m_subtitleFileCheck->deadline) {
        m_subtitleFileCheck.reset();
        setSubtitleError(subtitleFileError());
    }
}

// --- setters that publish only changes ------------------------------------------------------------------

void LibraryModel::setCurrentChannel(const std::optional<Channel> &channel)
{
    if (publish(this, m_currentChannel, channel, &LibraryModel::currentChannelChanged))
        Q_EMIT nextEpisodeChanged();
    // Only live channels have a programme guide.
    m_guide->setCurrentChannel(m_isOnDemand ? std::nullopt : channel);
}

void LibraryModel::setIsOnDemand(bool isOnDemand)
{
    if (publish(this, m_isOnDemand, isOnDemand, &LibraryModel::isOnDemandChanged))
        Q_EMIT nextEpisodeChanged();
}

void LibraryModel::setIsPlaying(bool isPlaying)
{
    publish(this, m_isPlaying, isPlaying, &LibraryModel::isPlayingChanged);
}

void LibraryModel::setElapsed(const QString &elapsed)
{
    publish(this, m_elapsed, elapsed, &LibraryModel::elapsedChanged);
}

void LibraryModel::setDurationLabel(const QString &label)
{
    publish(this, m_durationLabel, label, &LibraryModel::durationLabelChanged);
}

void LibraryModel::setPlaybackPosition(double position)
{
    publish(this, m_playbackPosition, position, &LibraryModel::playbackPositionChanged);
}

void LibraryModel::setSeekable(bool seekable)
{
    publish(this, m_seekable, seekable, &LibraryModel::seekableChanged);
}

void LibraryModel::setDiagnostics(const QString &diagnostics)
{
    publish(this, m_diagnostics, diagnostics, &LibraryModel::diagnosticsChanged);
}

void LibraryModel::setPlaybackError(const std::optional<QString> &error)
{
    publish(this, m_playbackError, error, &LibraryModel::playbackErrorChanged);
}

void LibraryModel::setWaiting(bool waiting)
{
    publish(this, m_waiting, waiting, &LibraryModel::waitingChanged);
}

void LibraryModel::setShowsCatalogPlayer(bool shows)
{
    publish(this, m_showsCatalogPlayer, shows, &LibraryModel::showsCatalogPlayerChanged);
}

void LibraryModel::setSubtitleTracks(const QList<SubtitleTrack> &tracks)
{
    publish(this, m_subtitleTracks, tracks, &LibraryModel::subtitleTracksChanged);
}

void LibraryModel::setSelectedSubtitle(int id)
{
    publish(this, m_selectedSubtitle, id, &LibraryModel::selectedSubtitleChanged);
}

void LibraryModel::setSubtitleError(const std::optional<QString> &error)
{
    publish(this, m_subtitleError, error, &LibraryModel::subtitleErrorChanged);
}

void LibraryModel::setSubtitleControlsOpen(bool open)
{
    publish(this, m_subtitleControlsOpen, open, &LibraryModel::subtitleControlsOpenChanged);
}

void LibraryModel::setAudioTracks(const QList<SubtitleTrack> &tracks)
{
    publish(this, m_audioTracks, tracks, &LibraryModel::audioTracksChanged);
}

void LibraryModel::setSelectedAudio(int id)
{
    publish(this, m_selectedAudio, id, &LibraryModel::selectedAudioChanged);
}

void LibraryModel::setAudioControlsOpen(bool open)
{
    publish(this, m_audioControlsOpen, open, &LibraryModel::audioControlsOpenChanged);
}

void LibraryModel::setVideoFullScreen(bool fullScreen)
{
    // The video stage exists only while a channel or title is current: without one there is nothing
    // to show full screen.
    publish(this, m_videoFullScreen, fullScreen && m_currentChannel.has_value(), &LibraryModel::videoFullScreenChanged);
}

// --- what the views read --------------------------------------------------------------------------------

QVariant LibraryModel::currentChannelForViews() const
{
    if (!m_currentChannel)
        return {};
    return QVariantMap{
        {u"id"_s, m_currentChannel->id()},
        {u"name"_s, m_currentChannel->name()},
        {u"group"_s, m_currentChannel->group()},
        {u"url"_s, m_currentChannel->url()},
    };
}

QVariant LibraryModel::nextEpisodeForViews() const
{
    const std::optional<CatalogEpisode> next = nextEpisode();
    if (!next)
        return {};
    return QVariantMap{
        {u"id"_s, next->id},
        {u"season"_s, next->season},
        {u"number"_s, next->number},
        {u"title"_s, next->title},
    };
}

QVariantList LibraryModel::subtitleTracksForViews() const
{
    return forViews(m_subtitleTracks);
}

QVariantList LibraryModel::audioTracksForViews() const
{
    return forViews(m_audioTracks);
}
