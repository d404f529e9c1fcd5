#include "MediaPlayer.h"

#include "PlayerLogging.h"

#include <QByteArray>
#include <QFileInfo>
#include <QHash>
#include <QImage>
#include <QMetaObject>

#include <vlc/vlc.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#if defined(__GLIBC__)
#include <malloc.h>
#endif
#include <mutex>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

QStringList &extraOptions()
{
    static QStringList options;
    return options;
}

// glibc gives every thread that allocates an arena of its own, up to eight per core, and libVLC
// starts and ends threads with every stream: over an evening of zapping, memory freed in one arena
// is never reused by the next stream's threads, and the resident size climbs. A few arenas shared
// by all threads keep it level; the main allocations are unaffected.
void limitMemoryArenas()
{
#if defined(__GLIBC__)
    static std::once_flag once;
    std::call_once(once, [] { mallopt(M_ARENA_MAX, 2); });
#endif
}

// A stopped stream leaves its decoders' buffers free but still mapped inside the arenas, where the
// next stream's differently sized buffers fit only in part. Handing the free pages back once the
// stream is closed keeps a long evening of zapping at the level of its first minutes. Called on the
// thread that stopped the stream, never on the main thread: it walks every arena.
void returnFreedMemory()
{
#if defined(__GLIBC__)
    malloc_trim(0);
#endif
}

// A libVLC instance made with `options`, shared by every player made with the same ones and kept
// for the whole run (one more reference for the caller). A fresh instance per player would load
// every plug-in again for each stream; and plug-ins unloaded while the process runs take their
// static state with them, which leak checkers then report as lost. Main thread only.
libvlc_instance_t *sharedInstance(const QStringList &options)
{
    static auto *const instances = new QHash<QStringList, libvlc_instance_t *>; // never released
    libvlc_instance_t *instance = instances->value(options);
    if (!instance) {
        limitMemoryArenas();
        std::vector<QByteArray> encoded;
        for (const QString &option : options)
            encoded.push_back(option.toUtf8());
        std::vector<const char *> arguments;
        for (const QByteArray &option : encoded)
            arguments.push_back(option.constData());
        instance = libvlc_new(int(arguments.size()), arguments.data());
        if (!instance)
            return nullptr;
        instances->insert(options, instance);
    }
    libvlc_retain(instance);
    return instance;
}

// Where a stream comes from, for the log: scheme, host and the file's extension. Account names and
// passwords travel in Xtream paths, so the path itself is never written.
QString describe(const QUrl &url)
{
    if (url.isLocalFile())
        return u"local file ."_s + QFileInfo(url.toLocalFile()).suffix();
    const QString suffix = QFileInfo(url.path()).suffix();
    return url.scheme() + u"://"_s + url.host() + u"/…"_s + (suffix.isEmpty() ? QString() : u'.' + suffix);
}

constexpr libvlc_event_e stateEvents[] = {
    libvlc_MediaPlayerOpening,
    libvlc_MediaPlayerBuffering,
    libvlc_MediaPlayerPlaying,
    libvlc_MediaPlayerPaused,
    libvlc_MediaPlayerStopped,
    libvlc_MediaPlayerEndReached,
    libvlc_MediaPlayerEncounteredError,
    libvlc_MediaPlayerESAdded,
};

MediaPlayer::State stateOfEvent(int type)
{
    switch (type) {
    case libvlc_MediaPlayerOpening:
        return MediaPlayer::State::Opening;
    case libvlc_MediaPlayerBuffering:
        return MediaPlayer::State::Buffering;
    case libvlc_MediaPlayerPlaying:
        return MediaPlayer::State::Playing;
    case libvlc_MediaPlayerPaused:
        return MediaPlayer::State::Paused;
    case libvlc_MediaPlayerEndReached:
        return MediaPlayer::State::Ended;
    case libvlc_MediaPlayerEncounteredError:
        return MediaPlayer::State::Error;
    case libvlc_MediaPlayerESAdded:
        return MediaPlayer::State::ESAdded;
    default:
        return MediaPlayer::State::Stopped;
    }
}

QList<MediaPlayer::Track> tracksOf(libvlc_track_description_t *list)
{
    QList<MediaPlayer::Track> tracks;
    for (const libvlc_track_description_t *item = list; item; item = item->p_next)
        tracks.append({item->i_id, item->psz_name ? QString::fromUtf8(item->psz_name) : QString()});
    if (list)
        libvlc_track_description_list_release(list);
    return tracks;
}

unsigned roundUp(unsigned value, unsigned multiple)
{
    return (value + multiple - 1) / multiple * multiple;
}

} // namespace

struct MediaPlayer::Native
{
    libvlc_instance_t *instance = nullptr;
    libvlc_media_player_t *player = nullptr;
    libvlc_media_t *media = nullptr;
    // Set while a Buffering note is on its way to the main thread: libVLC sends one per change of
    // the cache level, and one queued call for a burst of them is enough.
    std::atomic<bool> bufferingPending {false};
    // Set while libvlc_media_player_stop() runs on `stopper`: a Stopped event sent meanwhile answers
    // it. libVLC 3 also sends Stopped when a stream closes by itself after its end or an error (its
    // polled state then reads Ended); those are told apart by this flag.
    std::atomic<bool> stopping {false};
    std::thread stopper;

    static void onEvent(const libvlc_event_t *event, void *opaque);
};

// Receives decoded pictures from libVLC's video output thread (the "memory" video output: libVLC
// calls setup once per video format, then lock → decode into our buffer → unlock → display for each
// picture) and keeps a copy of the last one for the main thread. libVLC only calls in between the
// start of playback and the return of stop(), and this sink outlives the libVLC player.
class MediaPlayer::FrameSink
{
public:
    explicit FrameSink(MediaPlayer *owner)
        : m_owner(owner)
    {
    }

    static unsigned setup(
        void **opaque, char *chroma, unsigned *width, unsigned *height, unsigned *pitches, unsigned *lines)
    {
        auto *sink = static_cast<FrameSink *>(*opaque);
        // The size offered is the decoder's, sometimes a few lines taller than the picture; libVLC
        // scales the whole picture into whatever size we accept here, so accepting it loses nothing
        // (the main thread applies the real aspect ratio).
        if (*width == 0 || *height == 0 || *width > 16384 || *height > 16384)
            return 0;
        std::memcpy(chroma, "RV32", 4); // bytes B, G, R, 0xFF: QImage::Format_RGB32
        sink->m_width = *width;
        sink->m_height = *height;
        sink->m_pitch = roundUp(*width * 4, 64);
        const std::size_t bytes = std::size_t(sink->m_pitch) * roundUp(*height, 16);
        sink->m_buffer.reset(static_cast<uchar *>(std::aligned_alloc(64, bytes)));
        if (!sink->m_buffer)
            return 0;
        std::memset(sink->m_buffer.get(), 0, bytes);
        pitches[0] = sink->m_pitch;
        lines[0] = roundUp(*height, 16);
        ++sink->m_format;
        return 1; // one picture buffer: libVLC writes the next picture only after display()
    }

    static void cleanup(void *) { }

    static void *lock(void *opaque, void **planes)
    {
        planes[0] = static_cast<FrameSink *>(opaque)->m_buffer.get();
        return nullptr;
    }

    static void unlock(void *, void *, void *const *) { }

    static void display(void *opaque, void *) { static_cast<FrameSink *>(opaque)->keepPicture(); }

    // The last picture, shared (no copy); null before the first.
    VideoFrame latest() const
    {
        const std::lock_guard lock(m_mutex);
        return {m_latest, {}, m_latestSerial};
    }
    // Counts the video formats libVLC has set up.
    quint64 format() const { return m_format; }
    quint64 delivered() const { return m_delivered; }
    // The main thread has taken the notification: the next picture sends a new one.
    void notificationTaken() { m_notifyPending = false; }

private:
    struct FreeBuffer
    {
        void operator()(uchar *buffer) const { std::free(buffer); }
    };

    void keepPicture()
    {
        const QImage picture(
            m_buffer.get(), int(m_width), int(m_height), qsizetype(m_pitch), QImage::Format_RGB32);
        {
            const std::lock_guard lock(m_mutex);
            // Reuse the previous copy when nobody holds it any more; otherwise leave it to its holder.
            if (m_latest.size() == picture.size() && m_latest.isDetached()) {
                const qsizetype rowBytes = qsizetype(m_width) * 4;
                for (int y = 0; y < picture.height(); ++y)
                    std::memcpy(m_latest.scanLine(y), picture.constScanLine(y), std::size_t(rowBytes));
            } else {
                m_latest = picture.copy();
            }
            m_latestSerial = ++m_delivered;
        }
        if (!m_notifyPending.exchange(true)) {
            MediaPlayer *owner = m_owner;
            QMetaObject::invokeMethod(
                owner, [owner] { owner->handleFrame(); }, Qt::QueuedConnection);
        }
    }

    MediaPlayer *const m_owner;

    // Video output thread only.
    std::unique_ptr<uchar, FreeBuffer> m_buffer;
    unsigned m_width = 0;
    unsigned m_height = 0;
    unsigned m_pitch = 0;

    mutable std::mutex m_mutex; // guards m_latest and m_latestSerial
    QImage m_latest;
    quint64 m_latestSerial = 0;
    std::atomic<quint64> m_format {0};
    std::atomic<quint64> m_delivered {0};
    std::atomic<bool> m_notifyPending {false};
};

void MediaPlayer::Native::onEvent(const libvlc_event_t *event, void *opaque)
{
    // libVLC's event thread (or the caller of stop()): never touch the player here, only hand over.
    auto *player = static_cast<MediaPlayer *>(opaque);
    const State state = stateOfEvent(event->type);
    if (state == State::Buffering && player->m_native->bufferingPending.exchange(true))
        return;
    if (state == State::Stopped && !player->m_native->stopping) {
        QMetaObject::invokeMethod(
            player, [player] { player->handleStreamClosed(); }, Qt::QueuedConnection);
        return;
    }
    QMetaObject::invokeMethod(
        player, [player, state] { player->handleState(state); }, Qt::QueuedConnection);
}

QStringList MediaPlayer::standardOptions()
{
    return {u"--quiet"_s, u"--no-video-title-show"_s, u"--no-osd"_s, u"--network-caching=1500"_s};
}

void MediaPlayer::setExtraOptionsForTesting(const QStringList &options)
{
    extraOptions() = options;
}

MediaPlayer::MediaPlayer(const QStringList &options, QObject *parent)
    : QObject(parent)
    , m_native(std::make_unique<Native>())
    , m_frames(std::make_unique<FrameSink>(this))
{
    m_native->instance = sharedInstance(options + extraOptions());
    if (!m_native->instance) {
        qCWarning(lcPlayer) << "libVLC could not start (are its plug-ins installed?)";
        return;
    }
    m_native->player = libvlc_media_player_new(m_native->instance);
    if (!m_native->player) {
        qCWarning(lcPlayer) << "libVLC could not create a player:" << libvlc_errmsg();
        return;
    }
    libvlc_event_manager_t *events = libvlc_media_player_event_manager(m_native->player);
    for (const libvlc_event_e type : stateEvents)
        libvlc_event_attach(events, type, &Native::onEvent, this);
    libvlc_video_set_callbacks(
        m_native->player, &FrameSink::lock, &FrameSink::unlock, &FrameSink::display, m_frames.get());
    libvlc_video_set_format_callbacks(m_native->player, &FrameSink::setup, &FrameSink::cleanup);
}

MediaPlayer::~MediaPlayer()
{
    waitForStop();
    if (m_native->player) {
        // libVLC's stop returns once the input and the video output are closed: no picture callback
        // after it. Detaching waits for an event callback that is running, so none runs after it
        // either; the queued calls already posted to this object die with it.
        m_native->stopping = true;
        libvlc_media_player_stop(m_native->player);
        libvlc_event_manager_t *events = libvlc_media_player_event_manager(m_native->player);
        for (const libvlc_event_e type : stateEvents)
            libvlc_event_detach(events, type, &Native::onEvent, this);
        libvlc_media_player_release(m_native->player);
    }
    if (m_native->media)
        libvlc_media_release(m_native->media);
    if (m_native->instance)
        libvlc_release(m_native->instance);
}

bool MediaPlayer::isValid() const
{
    return m_native->player != nullptr;
}

void MediaPlayer::setMedia(const QUrl &url)
{
    setMedia(url.toEncoded());
}

void MediaPlayer::setMedia(const QByteArray &address)
{
    if (!m_native->player)
        return;
    waitForStop();
    const QUrl url = QUrl::fromEncoded(address);
    libvlc_media_t *media = nullptr;
    if (!address.isEmpty()) {
        media = libvlc_media_new_location(m_native->instance, address.constData());
        if (!media)
            qCWarning(lcPlayer) << "libVLC refused the address of" << describe(url);
    }
    libvlc_media_player_set_media(m_native->player, media); // holds its own reference
    if (m_native->media)
        libvlc_media_release(m_native->media);
    m_native->media = media;
    m_media = media ? url : QUrl();
    m_displaySize = {};
    if (media)
        qCDebug(lcPlayer) << "media:" << describe(url);
}

void MediaPlayer::play()
{
    if (!m_native->player)
        return;
    waitForStop();
    libvlc_media_player_play(m_native->player);
}

void MediaPlayer::pause()
{
    if (!m_native->player)
        return;
    waitForStop();
    libvlc_media_player_set_pause(m_native->player, 1);
}

void MediaPlayer::stop()
{
    if (!m_native->player || m_native->stopper.joinable())
        return;
    m_native->stopping = true;
    libvlc_media_player_t *player = m_native->player;
    Native *native = m_native.get();
    m_native->stopper = std::thread([player, native] {
        libvlc_media_player_stop(player);
        native->stopping = false;
        returnFreedMemory();
    });
}

void MediaPlayer::waitForStop()
{
    if (m_native->stopper.joinable())
        m_native->stopper.join();
}

bool MediaPlayer::isPlaying() const
{
    return m_native->player && libvlc_media_player_is_playing(m_native->player);
}

bool MediaPlayer::isSeekable() const
{
    return m_native->player && libvlc_media_player_is_seekable(m_native->player);
}

MediaTime MediaPlayer::time() const
{
    if (!m_native->player)
        return {};
    const libvlc_time_t time = libvlc_media_player_get_time(m_native->player);
    return time < 0 ? MediaTime() : MediaTime(time);
}

float MediaPlayer::position() const
{
    if (!m_native->player)
        return 0;
    return std::max(0.0f, libvlc_media_player_get_position(m_native->player));
}

void MediaPlayer::setPosition(float position)
{
    if (m_native->player)
        libvlc_media_player_set_position(m_native->player, position);
}

MediaTime MediaPlayer::length() const
{
    if (!m_native->media)
        return {};
    const libvlc_time_t length = libvlc_media_get_duration(m_native->media);
    return length < 0 ? MediaTime() : MediaTime(length);
}

MediaPlayer::Statistics MediaPlayer::statistics() const
{
    libvlc_media_stats_t stats {};
    if (!m_native->media || !libvlc_media_get_stats(m_native->media, &stats))
        return {};
    Statistics result;
    result.readBytes = stats.i_read_bytes;
    result.demuxReadBytes = stats.i_demux_read_bytes;
    result.demuxCorrupted = stats.i_demux_corrupted;
    result.demuxDiscontinuity = stats.i_demux_discontinuity;
    result.decodedVideo = stats.i_decoded_video;
    result.decodedAudio = stats.i_decoded_audio;
    result.displayedPictures = stats.i_displayed_pictures;
    result.lostPictures = stats.i_lost_pictures;
    result.playedAudioBuffers = stats.i_played_abuffers;
    result.lostAudioBuffers = stats.i_lost_abuffers;
    result.inputBitrate = double(stats.f_input_bitrate);
    result.demuxBitrate = double(stats.f_demux_bitrate);
    return result;
}

void MediaPlayer::setVolume(int volume)
{
    m_volume = std::clamp(volume, 0, 200);
    if (m_native->player)
        libvlc_audio_set_volume(m_native->player, m_volume);
}

QList<MediaPlayer::Track> MediaPlayer::subtitleTracks() const
{
    return m_native->player ? tracksOf(libvlc_video_get_spu_description(m_native->player)) : QList<Track>();
}

qint32 MediaPlayer::currentSubtitleTrack() const
{
    return m_native->player ? libvlc_video_get_spu(m_native->player) : -1;
}

bool MediaPlayer::setCurrentSubtitleTrack(qint32 id)
{
    return m_native->player && libvlc_video_set_spu(m_native->player, id) == 0;
}

QList<MediaPlayer::Track> MediaPlayer::audioTracks() const
{
    return m_native->player ? tracksOf(libvlc_audio_get_track_description(m_native->player)) : QList<Track>();
}

qint32 MediaPlayer::currentAudioTrack() const
{
    return m_native->player ? libvlc_audio_get_track(m_native->player) : -1;
}

bool MediaPlayer::setCurrentAudioTrack(qint32 id)
{
    return m_native->player && libvlc_audio_set_track(m_native->player, id) == 0;
}

qint64 MediaPlayer::subtitleDelay() const
{
    return m_native->player ? libvlc_video_get_spu_delay(m_native->player) : 0;
}

bool MediaPlayer::setSubtitleDelay(qint64 microseconds)
{
    return m_native->player && libvlc_video_set_spu_delay(m_native->player, microseconds) == 0;
}

bool MediaPlayer::addSubtitleFile(const QUrl &file, bool select)
{
    if (!m_native->player)
        return false;
    return libvlc_media_player_add_slave(
               m_native->player, libvlc_media_slave_type_subtitle, file.toEncoded().constData(), select)
        == 0;
}

QSize MediaPlayer::videoSize() const
{
    unsigned width = 0;
    unsigned height = 0;
    if (!m_native->player || libvlc_video_get_size(m_native->player, 0, &width, &height) != 0)
        return {};
    return QSize(int(width), int(height));
}

VideoFrame MediaPlayer::currentFrame() const
{
    VideoFrame frame = m_frames->latest();
    frame.displaySize = m_displaySize.isEmpty() ? frame.image.size() : m_displaySize;
    return frame;
}

quint64 MediaPlayer::deliveredFrames() const
{
    return m_frames->delivered();
}

void MediaPlayer::handleState(State state)
{
    if (state == State::Buffering)
        m_native->bufferingPending = false;
    else if (state != State::ESAdded)
        m_state = state;
    Q_EMIT stateChanged(state);
}

void MediaPlayer::handleStreamClosed()
{
    // The stream closed by itself, after its end or an error: those stay the state. A stream that
    // closed without saying why counts as ended, as libVLC's polled state has it.
    if (m_state == State::Ended || m_state == State::Error || m_state == State::Stopped)
        return;
    handleState(State::Ended);
}

void MediaPlayer::handleFrame()
{
    m_frames->notificationTaken();
    const quint64 format = m_frames->format();
    if (m_native->media && (m_displaySize.isEmpty() || m_displaySizeFormat != format)) {
        // The stream's picture size and pixel aspect, known from the decoder shortly after start.
        libvlc_media_track_t **tracks = nullptr;
        const unsigned count = libvlc_media_tracks_get(m_native->media, &tracks);
        for (unsigned i = 0; i < count; ++i) {
            const libvlc_media_track_t *track = tracks[i];
            if (track->i_type != libvlc_track_video || !track->video->i_width || !track->video->i_height)
                continue;
            const libvlc_video_track_t &video = *track->video;
            const double pixelAspect
                = video.i_sar_num && video.i_sar_den ? double(video.i_sar_num) / video.i_sar_den : 1.0;
            m_displaySize = QSize(qRound(video.i_width * pixelAspect), int(video.i_height));
            m_displaySizeFormat = format;
            qCDebug(lcPlayer) << "video" << video.i_width << "×" << video.i_height << "shown as"
                              << m_displaySize;
            break;
        }
        if (tracks)
            libvlc_media_tracks_release(tracks, count);
    }
    Q_EMIT frameReady();
}
