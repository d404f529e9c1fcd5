#pragma once

#include "CatalogKind.h"

#include <QJsonObject>
#include <QString>
#include <QUuid>

// How far the user got in a movie or an episode.
struct WatchProgress
{
    static constexpr double leastResumeSeconds = 10;
    static constexpr double watchedThreshold = 0.95;

    double seconds = 0;
    double duration = 0; // 0 while unknown
    bool watched = false;

    // The share already seen, between 0 and 1.
    double fraction() const;
    // Where playback should start: 0 for a watched title or a position under ten seconds.
    double resumeSeconds() const;
    // Records a new position; ignored unless both numbers are finite, seconds ≥ 0 and duration > 0.
    // Reaching 95 % marks the title watched, and nothing here clears that mark.
    void update(double newSeconds, double newDuration);
    // Sets or clears the mark by hand; clearing it also restarts the title.
    void mark(bool isWatched);

    // UUID (upper case) ":" kind ":" id — the one key of a title in the watch history.
    static QString key(const QUuid &source, CatalogKind kind, const QString &id);

    QJsonObject toJson() const;
    static WatchProgress fromJson(const QJsonObject &object); // throws JsonError

    friend bool operator==(const WatchProgress &, const WatchProgress &) = default;
};
