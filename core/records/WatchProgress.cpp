#include "WatchProgress.h"
#include "JsonFields.h"

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

double WatchProgress::fraction() const
{
    return duration > 0 ? std::min(seconds / duration, 1.0) : 0;
}

double WatchProgress::resumeSeconds() const
{
    return watched || seconds < leastResumeSeconds ? 0 : seconds;
}

void WatchProgress::update(double newSeconds, double newDuration)
{
    if (!std::isfinite(newSeconds) || newSeconds < 0 || !std::isfinite(newDuration) || newDuration <= 0)
        return;
    seconds = std::min(newSeconds, newDuration);
    duration = newDuration;
    if (seconds / duration >= watchedThreshold)
        watched = true;
}

void WatchProgress::mark(bool isWatched)
{
    watched = isWatched;
    if (!isWatched)
        seconds = 0;
}

QString WatchProgress::key(const QUuid &source, CatalogKind kind, const QString &id)
{
    return JsonFields::canonicalUuid(source) + u':' + CatalogKinds::rawValue(kind) + u':' + id;
}

QJsonObject WatchProgress::toJson() const
{
    return QJsonObject{{"seconds"_L1, seconds}, {"duration"_L1, duration}, {"watched"_L1, watched}};
}

WatchProgress WatchProgress::fromJson(const QJsonObject &object)
{
    return WatchProgress{JsonFields::number(object, "seconds"_L1), JsonFields::number(object, "duration"_L1),
                         JsonFields::boolean(object, "watched"_L1)};
}
