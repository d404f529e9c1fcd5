#pragma once

#include <QString>
#include <QtGlobal>

#include <optional>

// A media time or length as the player reports it: milliseconds, or undefined when the player has
// no answer (no media, nothing opened yet).
class MediaTime
{
public:
    MediaTime() = default; // undefined
    explicit MediaTime(qint64 milliseconds)
        : m_milliseconds(milliseconds)
    {
    }

    bool isDefined() const { return m_milliseconds.has_value(); }
    // 0 when undefined.
    qint64 milliseconds() const { return m_milliseconds.value_or(0); }
    // "mm:ss", "h:mm:ss" from one hour on, "--:--" when undefined (see mediaTimeText).
    QString text() const;

    friend bool operator==(const MediaTime &, const MediaTime &) = default;

private:
    std::optional<qint64> m_milliseconds;
};

// The text shown for a time: whole seconds (truncated towards zero), minutes and seconds with two
// digits each ("04:05"), the hours in front without padding once the time reaches an hour
// ("1:02:03"), a minus sign before negative times ("-00:05"), and "--:--" when the time is unknown.
QString mediaTimeText(std::optional<qint64> milliseconds);
