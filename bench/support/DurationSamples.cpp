#include "DurationSamples.h"

#include <algorithm>

double DurationSamples::medianMilliseconds() const
{
    if (m_samples.isEmpty())
        return 0;
    QList<qint64> sorted = m_samples;
    std::sort(sorted.begin(), sorted.end());
    const qsizetype middle = sorted.size() / 2;
    const double nanoseconds = sorted.size() % 2 == 1
        ? double(sorted.at(middle))
        : (double(sorted.at(middle - 1)) + double(sorted.at(middle))) / 2;
    return nanoseconds / 1e6;
}

double DurationSamples::bestMilliseconds() const
{
    if (m_samples.isEmpty())
        return 0;
    return double(*std::min_element(m_samples.cbegin(), m_samples.cend())) / 1e6;
}
