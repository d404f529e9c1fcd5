#pragma once

#include <QByteArray>
#include <QIODevice>

#include <functional>

// Writes large XMLTV guides shaped like the ones EPG services publish: a <channel> per channel with
// one or two display names (accented Latin, Cyrillic, Greek), then each channel's week of
// programmes in its own time-zone offset (+0000, +0100, +0200, -0500, +0530, +0300), lengths from
// 15 minutes to 5 hours (2.5 on average: a 10,000-channel week is about 110 MB), a title on every programme (from a few thousand series, so titles repeat
// as they do in real guides, some with lang attributes and entities), categories, sub-titles and
// descriptions on a share of them, and the odd comment.
//
// Deterministic: the same options give the same bytes on every machine (its own pseudo-random
// generator, no locale, no clock).
class GuideGenerator
{
public:
    struct Options
    {
        int channels = 10'000;
        int days = 7;
        qint64 firstDay = 1'795'392'000; // 2026-11-23 00:00 UTC
        quint64 seed = 1;
        int lengthDivisor = 1; // 2: programmes half as long, twice as many
    };

    struct Written
    {
        qint64 bytes = 0;
        qsizetype channels = 0;
        qsizetype programmes = 0;
    };

    explicit GuideGenerator(Options options);

    // Hands the guide over in pieces of about a megabyte.
    Written write(const std::function<void(const QByteArray &)> &sink) const;
    // "guide id" of channel `index`, as written.
    static QByteArray channelId(int index);
    // Its first display name, as written (UTF-8).
    static QByteArray channelName(int index);

private:
    Options m_options;
};
