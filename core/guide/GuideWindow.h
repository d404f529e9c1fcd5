#pragma once

#include <QtGlobal>

#include <limits>

// The stretch of time a guide keeps, in seconds since 1970-01-01 UTC: programmes that overlap
// [from, to). The programme guide shows from two hours ago to a day ahead.
struct GuideWindow
{
    static constexpr qint64 keptBefore = 2 * 3600;
    static constexpr qint64 keptAfter = 24 * 3600;

    qint64 from = std::numeric_limits<qint64>::min();
    qint64 to = std::numeric_limits<qint64>::max();

    static GuideWindow around(qint64 now) { return {now - keptBefore, now + keptAfter}; }
    // Every programme, whenever it is.
    static GuideWindow everything() { return {}; }

    bool overlaps(qint64 start, qint64 stop) const { return start < to && stop > from; }

    friend bool operator==(const GuideWindow &, const GuideWindow &) = default;
};
