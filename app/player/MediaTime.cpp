#include "MediaTime.h"

using namespace Qt::StringLiterals;

QString MediaTime::text() const
{
    return mediaTimeText(m_milliseconds);
}

QString mediaTimeText(std::optional<qint64> milliseconds)
{
    if (!milliseconds)
        return u"--:--"_s;
    const qint64 seconds = *milliseconds / 1000; // C++ division truncates towards zero
    const qint64 magnitude = seconds < 0 ? -seconds : seconds;
    const QString sign = seconds < 0 ? u"-"_s : QString();
    const auto twoDigits = [](qint64 value) { return QString::number(value).rightJustified(2, u'0'); };
    if (magnitude >= 3600) {
        return sign + QString::number(magnitude / 3600) + u':' + twoDigits(magnitude / 60 % 60) + u':'
            + twoDigits(magnitude % 60);
    }
    return sign + twoDigits(magnitude / 60) + u':' + twoDigits(magnitude % 60);
}
