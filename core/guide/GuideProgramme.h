#pragma once

#include <QString>

// One programme of a channel's guide: [start, stop) in seconds since 1970-01-01 UTC, and its texts
// (empty when the guide gives none).
struct GuideProgramme
{
    qint64 start = 0;
    qint64 stop = 0;
    QString title;
    QString subTitle;
    QString description;
    QString category;

    friend bool operator==(const GuideProgramme &, const GuideProgramme &) = default;
};
