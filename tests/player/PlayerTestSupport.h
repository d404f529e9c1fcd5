#pragma once

#include "MediaPlayer.h"
#include "ProviderServer.h"

#include <QColor>
#include <QProcess>
#include <QSize>
#include <QStandardPaths>
#include <QString>
#include <QTest>
#include <QUrl>

#include <memory>

// What the player tests share: the local provider with its media, addresses of its test channels
// and movies, and short clips made with ffmpeg.
namespace PlayerTest {

using namespace Qt::StringLiterals;

// A provider with a few channels whose media is cached in the build tree (made on the first run).
inline std::unique_ptr<ProviderServer> startProvider()
{
    ProviderOptions options;
    options.liveChannels = 10;
    options.movies = 6;
    options.series = 2;
    options.categories = 2;
    options.mediaFolder = QStringLiteral(QUENVO_PLAYER_TEST_MEDIA);
    auto server = std::make_unique<ProviderServer>(options);
    if (!server->start())
        return nullptr;
    return server;
}

// The live channel of that kind (the first regular one for `regular`), as MPEG-TS, or as HLS for
// the HLS test channel.
inline QUrl liveURL(const ProviderServer &server, ProviderCatalog::LiveKind kind)
{
    const ProviderCatalog &catalog = server.catalog();
    const int index = catalog.liveChannelIndex(kind);
    const QString extension = kind == ProviderCatalog::LiveKind::hls ? u"m3u8"_s : u"ts"_s;
    return server.url(
        u"/live/demo/demo/"_s + QString::number(catalog.liveChannelID(index)) + u'.' + extension);
}

// The first movie served in that container ("mp4" or "mkv"); empty when there is none.
inline QUrl movieURL(const ProviderServer &server, const QString &extension)
{
    const ProviderCatalog &catalog = server.catalog();
    for (int index = 0; index < catalog.movieCount(); ++index) {
        if (catalog.movieExtension(index) == extension) {
            return server.url(
                u"/movie/demo/demo/"_s + QString::number(catalog.movieID(index)) + u'.' + extension);
        }
    }
    return {};
}

inline bool haveFFmpeg()
{
    return !QStandardPaths::findExecutable(u"ffmpeg"_s).isEmpty();
}

// A silent MPEG-TS clip of `size` pixels (pixel aspect `pixelAspect`, "1/1" for square pixels):
// `colour` with a blue band along the top and a red band along the bottom, each a twelfth of the
// height, so a test can tell that the whole picture is shown.
inline bool makeClip(
    const QString &path, QSize size, const QString &pixelAspect, const QString &colour, int seconds = 4)
{
    const int band = size.height() / 12;
    const QString filter = u"color=c=%1:size=%2x%3:rate=25,setsar=%4,"
                           u"drawbox=x=0:y=0:w=iw:h=%5:color=blue:t=fill,"
                           u"drawbox=x=0:y=ih-%5:w=iw:h=%5:color=red:t=fill"_s.arg(colour)
                               .arg(size.width())
                               .arg(size.height())
                               .arg(pixelAspect)
                               .arg(band);
    QProcess ffmpeg;
    ffmpeg.start(u"ffmpeg"_s,
        {u"-loglevel"_s, u"error"_s, u"-y"_s, u"-f"_s, u"lavfi"_s, u"-i"_s, filter, u"-t"_s,
            QString::number(seconds), u"-c:v"_s, u"libx264"_s, u"-preset"_s, u"ultrafast"_s, u"-pix_fmt"_s,
            u"yuv420p"_s, u"-g"_s, u"25"_s, u"-f"_s, u"mpegts"_s, path});
    return ffmpeg.waitForFinished(60'000) && ffmpeg.exitStatus() == QProcess::NormalExit
        && ffmpeg.exitCode() == 0;
}

// Colour comparison with room for the YUV round trip and scaling.
inline bool looksLike(QRgb pixel, QColor expected, int tolerance = 48)
{
    return qAbs(qRed(pixel) - expected.red()) <= tolerance
        && qAbs(qGreen(pixel) - expected.green()) <= tolerance
        && qAbs(qBlue(pixel) - expected.blue()) <= tolerance;
}

inline bool hasMedia(const MediaPlayer &player, bool video, bool audio)
{
    const MediaPlayer::Statistics statistics = player.statistics();
    return (!video || statistics.displayedPictures > 0) && (!audio || statistics.playedAudioBuffers > 0);
}

} // namespace PlayerTest

#define QUENVO_REQUIRE_PROVIDER_MEDIA(server)                                                                \
    do {                                                                                                     \
        if (!(server)->mediaAvailable())                                                                     \
            QSKIP(qPrintable(u"the provider has no media: "_s + (server)->mediaError()));                    \
    } while (false)
