#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>

// What a ProviderServer offers. The same options (seed included) always give the same catalogue,
// byte for byte, so tests can compute what to expect from ProviderCatalog instead of hard-coding it.
struct ProviderOptions
{
    // Live channels in the lists, the five test channels included (at least six are served).
    int liveChannels = 60;
    int movies = 40;
    int series = 12;
    // Categories per section (live, movies, series); live has one more for the test channels.
    int categories = 6;
    quint64 seed = 1;
    // Where the generated media is cached; empty means defaultMediaFolder().
    QString mediaFolder;
    // Generate and serve media (needs ffmpeg). Without it the lists are still served and every
    // media address answers 503.
    bool generateMedia = true;
    // Seconds of media a live stream sends at once before keeping to real time, so that players
    // start quickly.
    double liveBurstSeconds = 2.0;

    // Every movie, series and episode lists a poster address of its own: the usual picture with
    // "?movie=<id>", "?series=<id>" or "?episode=<id>" after it (the query changes nothing in the
    // answer). Tests read imageRequestsByAddress() to tell whose posters were asked for.
    bool posterPerTitle = false;
    // Pictures under /images/ are answered after this many milliseconds, without holding up the
    // server's other answers, so that downloads in progress can be watched.
    int imageDelayMs = 0;
    // More pictures under /images/<name>, served even without media: any bytes, so a test can also
    // serve something that is not a picture. They take precedence over the generated ones.
    QHash<QString, QByteArray> extraImages;

    // $XDG_CACHE_HOME/quenvo-provider, or ~/.cache/quenvo-provider.
    static QString defaultMediaFolder();
};
