#pragma once

#include "ProviderCatalog.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>

// The media the provider plays, generated once with ffmpeg into a cache folder and then held in
// memory: the live clips (MPEG-TS, and the same clip cut into HLS segments), the movie every title
// plays (MP4 and Matroska: H.264, two AAC tracks tagged "cat" and "eng", Catalan subtitles) and the
// logos and posters.
//
// Each item lives in its own folder named after a digest of the commands that make it, so a cache
// is reused only when it holds exactly what these commands produce; items are generated in a
// temporary folder and renamed into place, so an interrupted run never leaves half an item behind.
// Read-only once prepared: safe to share between threads.
class ProviderMedia
{
public:
    struct LiveMedia
    {
        QByteArray stream; // the whole clip as MPEG-TS (a multiple of 188 bytes)
        double seconds = 0;
        QList<QByteArray> segments; // the same clip as HLS segments
        QList<double> segmentSeconds;
    };

    // Media that is not there: every media address answers 503 and error() tells why.
    static ProviderMedia unavailable(QString error);
    // Generates what `folder` lacks (several ffmpeg processes at once), then loads everything.
    // Blocks for a few seconds on the first run, a few milliseconds afterwards. Never throws: on
    // failure the result is unavailable.
    static ProviderMedia prepare(const QString &folder, const QList<ProviderCatalog::LiveClip> &clips);

    bool isAvailable() const { return m_error.isEmpty(); }
    const QString &error() const { return m_error; }

    // Clip by its index in ProviderCatalog::liveClips().
    const LiveMedia &live(int clip) const { return m_live.at(clip); }
    // "mp4" or "mkv"; empty for any other extension.
    QByteArray movie(QStringView extension) const;
    QString moviePath(QStringView extension) const;
    // "logo-1.png" … "poster-4.jpg"; empty for any other name.
    QByteArray image(const QString &name) const { return m_images.value(name); }

private:
    QString m_error;
    QList<LiveMedia> m_live;
    QByteArray m_mp4;
    QByteArray m_mkv;
    QString m_mp4Path;
    QString m_mkvPath;
    QHash<QString, QByteArray> m_images;
};
