#pragma once

#include <QDBusAbstractAdaptor>
#include <QDBusObjectPath>
#include <QVariantMap>

class LibraryModel;
class Mpris;

// org.mpris.MediaPlayer2.Player: what the library model plays, and the commands of media keys and
// desktop player widgets. Live channels and on-demand titles alike; only on-demand titles the
// player can seek have a length and take Seek and SetPosition. There is no track list: next and
// previous are never offered.
//
// D-Bus properties have no Qt change signals: the adaptor follows the library model and sends
// org.freedesktop.DBus.Properties.PropertiesChanged itself, with the values that really changed.
// Position is never announced: MPRIS clients read it when they need it and follow Seeked for jumps.
class MprisPlayerAdaptor : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.mpris.MediaPlayer2.Player")
    Q_PROPERTY(QString PlaybackStatus READ playbackStatus FINAL)
    Q_PROPERTY(double Rate READ rate WRITE setRate FINAL)
    Q_PROPERTY(double MinimumRate READ rate FINAL)
    Q_PROPERTY(double MaximumRate READ rate FINAL)
    Q_PROPERTY(QVariantMap Metadata READ metadata FINAL)
    Q_PROPERTY(double Volume READ volume WRITE setVolume FINAL)
    Q_PROPERTY(qlonglong Position READ position FINAL)
    Q_PROPERTY(bool CanGoNext READ canGoNext FINAL)
    Q_PROPERTY(bool CanGoPrevious READ canGoPrevious FINAL)
    Q_PROPERTY(bool CanPlay READ canPlay FINAL)
    Q_PROPERTY(bool CanPause READ canPause FINAL)
    Q_PROPERTY(bool CanSeek READ canSeek FINAL)
    Q_PROPERTY(bool CanControl READ canControl FINAL)

public:
    MprisPlayerAdaptor(Mpris *mpris, LibraryModel &library);

    // "Playing" while a channel plays or is starting, "Paused" while it is paused, "Stopped" with
    // nothing current or after a playback failure.
    QString playbackStatus() const;
    double rate() const { return 1.0; }
    void setRate(double) {}
    QVariantMap metadata() const;
    // 0–1, the model's 0–100.
    double volume() const;
    void setVolume(double volume);
    // Microseconds into the current media.
    qlonglong position() const;
    bool canGoNext() const { return false; }
    bool canGoPrevious() const { return false; }
    bool canPlay() const;
    bool canPause() const;
    bool canSeek() const;
    bool canControl() const { return true; }

    // The track id of what plays now: one per channel or title, "…/NoTrack" with nothing current.
    QDBusObjectPath trackID() const;

public Q_SLOTS:
    void Next() {}
    void Previous() {}
    void Pause();
    void PlayPause();
    void Stop();
    void Play();
    void Seek(qlonglong offset);
    void SetPosition(const QDBusObjectPath &trackID, qlonglong position);
    void OpenUri(const QString &uri);

Q_SIGNALS:
    void Seeked(qlonglong position);

private:
    // Microseconds; 0 when unknown (live channels, or before the player knows it).
    qlonglong length() const;
    void seekTo(qlonglong position);
    // The properties that PropertiesChanged announces, as they read now.
    QVariantMap announced() const;
    void scheduleAnnouncement();
    void announceChanges();

    Mpris *m_mpris;
    LibraryModel &m_library;
    QVariantMap m_announced;
    bool m_announcementScheduled = false;
};
