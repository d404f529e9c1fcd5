#pragma once

#include <QList>

// Durations of repeated runs of one piece of work, in nanoseconds; summarised as the median (the
// figure benchmarks report) and the best run.
class DurationSamples
{
public:
    void add(qint64 nanoseconds) { m_samples.append(nanoseconds); }
    qsizetype count() const { return m_samples.size(); }

    // Milliseconds; 0 when there are no samples. An even count gives the mean of the middle two.
    double medianMilliseconds() const;
    double bestMilliseconds() const;

private:
    QList<qint64> m_samples;
};
