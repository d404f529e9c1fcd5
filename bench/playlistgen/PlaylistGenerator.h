#pragma once

#include <QByteArray>
#include <QUrl>

// Writes large M3U playlists shaped like the ones providers and communities publish: an x-tvg-url
// header, "#EXTINF" lines in the iptv-org, Xtream "m3u_plus" and hand-written styles (commas inside
// quoted values and in titles, accented, Cyrillic, CJK and other scripts), "#EXTGRP:" and
// "#EXTVLCOPT:" lines, blocks with CRLF line endings, about 5 % repeated addresses, some 2 KB token
// addresses, a few relative addresses and some rtmp/udp/rtsp/mms ones.
//
// Deterministic: the same seed and entry count give the same bytes on every machine (its own
// pseudo-random generator, no locale, no clock). About 240 bytes per entry, so 100,000 entries stay
// under the 25 MiB download cap.
class PlaylistGenerator
{
public:
    // What was written, counted while writing it.
    struct Playlist
    {
        QByteArray text;
        qsizetype entries = 0; // "#EXTINF" lines
        // Distinct addresses a player can open over HTTP: absolute http(s) ones and relative ones,
        // which resolve against baseURL(). A faithful parser yields exactly this many channels.
        qsizetype expectedChannels = 0;
        qsizetype repeatedAddresses = 0; // copies of an earlier address line
        qsizetype otherSchemes = 0; // rtmp, udp, rtsp, mms
        qsizetype relativeAddresses = 0;
        qsizetype longAddresses = 0; // about 2 KB, carrying tokens in the query
        qsizetype entriesWithoutAddress = 0;
        qsizetype crlfLines = 0;
        qsizetype lfLines = 0;
    };

    explicit PlaylistGenerator(quint64 seed);

    Playlist generate(qsizetype entries) const;

    // Where the playlist is meant to have been downloaded from: its relative addresses resolve
    // against it.
    static QUrl baseURL();

private:
    quint64 m_seed;
};
