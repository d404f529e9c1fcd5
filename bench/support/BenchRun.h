#pragma once

// What every benchmark's main() shares: how it gives up, how it waits for a coroutine, and the
// machine's load printed beside the figures. Header only, for benchmarks linking IPTVCore.

#include "records/IPTVError.h"

#include <QCoroTask>
#include <QFile>
#include <QString>

#include <exception>
#include <optional>

// Ends a benchmark: main() prints the message and fails.
struct BenchFailure
{
    QString message;
};

namespace BenchRun {

// QCoro 0.8's waitFor() never returns when the awaited task throws: the outcome is settled first.
template<typename T> QCoro::Task<std::optional<T>> settled(QCoro::Task<T> task, QString &failure)
{
    try {
        co_return co_await std::move(task);
    } catch (const IPTVError &error) {
        failure = error.message();
    } catch (const std::exception &error) {
        failure = QString::fromUtf8(error.what());
    }
    co_return std::nullopt;
}

// What `task` returns, run to its end in a nested event loop; a BenchFailure naming `what` if it fails.
template<typename T> T valueOf(QCoro::Task<T> task, const QString &what)
{
    QString failure;
    std::optional<T> value = QCoro::waitFor(settled(std::move(task), failure));
    if (!value)
        throw BenchFailure {what + QStringLiteral(": ") + failure};
    return std::move(*value);
}

// The load averages over 1, 5 and 15 minutes, as /proc/loadavg gives them.
inline QString loadAverage()
{
    QFile file(QStringLiteral("/proc/loadavg"));
    if (!file.open(QIODevice::ReadOnly))
        return QStringLiteral("unknown");
    return QString::fromLatin1(file.readAll()).section(u' ', 0, 2);
}

} // namespace BenchRun
