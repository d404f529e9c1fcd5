#pragma once

#include "MediaTime.h"
#include "VideoFrame.h"

#include <QList>
#include <QObject>
#include <QSize>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <memory>

// One libVLC media player, on a libVLC instance shared by the players made with the same options:
// the only place of the application that talks to libVLC. It mirrors the few operations the playback controller needs (media, play, pause,
// stop, time, position, length, statistics, volume, subtitle and audio tracks, subtitle delay,
// subtitle files as slaves) and draws no window of its own: decoded pictures arrive as VideoFrames
// for a VideoSurface.
//
// Main thread only. libVLC reports states and pictures on threads of its own; both are handed to the
// main thread with a queued call on this object, so stateChanged() and frameReady() are always
// emitted on the main thread, and none arrives after the player is destroyed.
//
// stop() is asynchronous: libVLC's own stop blocks until the stream is closed (up to half a second
// for a live stream that has just started), so it runs on a thread of its own and its end is the
// Stopped state. Pictures may still arrive until then; none arrives after. Commands given while a
// stop is running wait for it. Destroying a player stops it first (and waits for a running stop).
class MediaPlayer : public QObject
{
    Q_OBJECT

public:
    // The player's states as libVLC announces them. Buffering and ESAdded are progress notes
    // (caching, a track found): they are signalled but never become state().
    enum class State
    {
        Stopped,
        Opening,
        Buffering,
        Ended,
        Error,
        Playing,
        Paused,
        ESAdded,
    };
    Q_ENUM(State)

    // Decoding counters of the current media since it was opened.
    struct Statistics
    {
        qint64 readBytes = 0; // 0 for HLS: count demuxReadBytes instead
        qint64 demuxReadBytes = 0;
        qint64 demuxCorrupted = 0;
        qint64 demuxDiscontinuity = 0;
        qint64 decodedVideo = 0;
        qint64 decodedAudio = 0;
        qint64 displayedPictures = 0;
        qint64 lostPictures = 0;
        qint64 playedAudioBuffers = 0;
        qint64 lostAudioBuffers = 0;
        double inputBitrate = 0; // as libVLC measures it, for diagnostics
        double demuxBitrate = 0;

        friend bool operator==(const Statistics &, const Statistics &) = default;
    };

    // A subtitle or audio track as libVLC lists it, its "Disable" entry (a negative id) included.
    struct Track
    {
        qint32 id = -1;
        QString name; // may be empty

        friend bool operator==(const Track &, const Track &) = default;
    };

    // "--quiet", "--no-video-title-show", "--no-osd", "--network-caching=1500": the application's
    // players are made with exactly these.
    static QStringList standardOptions();
    // Tests only: options appended to those of every player created afterwards ("--aout=dummy": a
    // machine without a sound device fails every audio buffer otherwise). The application never
    // calls it.
    static void setExtraOptionsForTesting(const QStringList &options);

    explicit MediaPlayer(const QStringList &options = standardOptions(), QObject *parent = nullptr);
    ~MediaPlayer() override;

    // False when libVLC could not be started (no plug-ins): every operation then does nothing.
    bool isValid() const;

    // The stream or file to play (http, https, file…); an empty address releases the media. Meant for
    // a stopped player: libVLC closes a running stream here, at once and without a Stopped state.
    void setMedia(const QUrl &url);
    // The same with an encoded address, handed to libVLC byte for byte as written.
    void setMedia(const QByteArray &address);
    QUrl media() const { return m_media; }
    bool hasMedia() const { return !m_media.isEmpty(); }

    // Asynchronous commands: the states that follow arrive through stateChanged().
    void play();
    void pause();
    // Ends with the Stopped state (none when the player is stopped already). A second stop while
    // one runs does nothing.
    void stop();

    bool isPlaying() const;
    bool isSeekable() const;
    // The last state announced, as of the last event handled on the main thread. A stream that ends
    // or fails by itself stays Ended or Error until the next command (libVLC 3 follows those with a
    // Stopped note of its own, which is not announced; Stopped always answers stop()).
    State state() const { return m_state; }

    MediaTime time() const;
    // Fraction 0–1 of the length; 0 when nothing is open.
    float position() const;
    void setPosition(float position);
    // Length of the current media: undefined without media or before it is opened; 0 for a live
    // MPEG-TS stream; the current window for a live HLS stream.
    MediaTime length() const;
    // Zeros when there is no media.
    Statistics statistics() const;

    // Output volume 0–100 (libVLC accepts up to 200). Returns the value last set: audio outputs
    // without a mixer (the dummy one of tests) do not read it back.
    int volume() const { return m_volume; }
    void setVolume(int volume);

    QList<Track> subtitleTracks() const;
    // −1 when subtitles are off.
    qint32 currentSubtitleTrack() const;
    // False when libVLC refuses (no such track, nothing playing).
    bool setCurrentSubtitleTrack(qint32 id);
    QList<Track> audioTracks() const;
    qint32 currentAudioTrack() const;
    bool setCurrentAudioTrack(qint32 id);

    // Positive shows subtitles later. Setting needs an open stream (false otherwise).
    qint64 subtitleDelay() const; // microseconds
    bool setSubtitleDelay(qint64 microseconds);

    // Adds a subtitle file to the running stream (`select`: it becomes the current track once read).
    // True when libVLC accepts it; it is read asynchronously, so a file libVLC cannot parse is
    // accepted here and simply never shows up in subtitleTracks().
    bool addSubtitleFile(const QUrl &file, bool select = true);

    // The stream's own picture size (before the pixel aspect); empty until the video is known.
    QSize videoSize() const;

    // The last picture libVLC displayed, and the size to show it at; null before the first.
    VideoFrame currentFrame() const;
    // Pictures libVLC has displayed into this player since it was created (main thread or any).
    quint64 deliveredFrames() const;

Q_SIGNALS:
    void stateChanged(MediaPlayer::State state);
    // A new picture is available from currentFrame(). Coalesced: when the main thread is busy,
    // several pictures give one signal.
    void frameReady();

private:
    struct Native;
    class FrameSink;

    void handleState(State state);
    void handleStreamClosed();
    void waitForStop();
    void handleFrame();

    std::unique_ptr<Native> m_native;
    std::unique_ptr<FrameSink> m_frames;
    QUrl m_media;
    State m_state = State::Stopped;
    int m_volume = 100;
    QSize m_displaySize; // of the current video format, once known
    quint64 m_displaySizeFormat = 0; // the format m_displaySize was measured for
};
