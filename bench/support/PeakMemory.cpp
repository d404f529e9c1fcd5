#include "PeakMemory.h"

#include <QByteArray>
#include <QFile>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

// A "Name:   1234 kB" field of /proc/self/status, in bytes.
qint64 statusField(const QByteArray &name)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    const QByteArray prefix = name + ':';
    const QList<QByteArray> lines = status.readAll().split('\n');
    for (const QByteArray &line : lines) {
        if (!line.startsWith(prefix))
            continue;
        QByteArray value = line.sliced(prefix.size()).trimmed();
        if (!value.endsWith(" kB"))
            return -1;
        value.chop(3);
        bool ok = false;
        const qint64 kibibytes = value.toLongLong(&ok);
        return ok ? kibibytes * 1024 : -1;
    }
    return -1;
}

bool resetHighWaterMark()
{
    const int file = ::open("/proc/self/clear_refs", O_WRONLY | O_CLOEXEC);
    if (file < 0)
        return false;
    const bool written = ::write(file, "5", 1) == 1;
    ::close(file);
    return written;
}

} // namespace

PeakMemory PeakMemory::start()
{
    PeakMemory memory;
    const bool reset = resetHighWaterMark();
    memory.m_residentAtStart = residentBytes();
    if (memory.m_residentAtStart <= 0)
        return memory;
    // Right after a reset the mark equals the resident size, give or take the pages reading it
    // touched; anything else means the reset did not take.
    const qint64 mark = highWaterMarkBytes();
    if (reset && mark >= 0 && mark - memory.m_residentAtStart < 1024 * 1024)
        memory.m_method = Method::highWaterMark;
    else if (lifetimePeakBytes() > 0)
        memory.m_method = Method::lifetimePeak;
    return memory;
}

qint64 PeakMemory::growth() const
{
    switch (m_method) {
    case Method::highWaterMark:
        return std::max<qint64>(0, highWaterMarkBytes() - m_residentAtStart);
    case Method::lifetimePeak:
        return std::max<qint64>(0, lifetimePeakBytes() - m_residentAtStart);
    case Method::unavailable:
        break;
    }
    return -1;
}

qint64 PeakMemory::residentBytes()
{
    return statusField("VmRSS");
}

qint64 PeakMemory::highWaterMarkBytes()
{
    return statusField("VmHWM");
}

qint64 PeakMemory::lifetimePeakBytes()
{
    rusage usage {};
    if (getrusage(RUSAGE_SELF, &usage) != 0)
        return -1;
    return qint64(usage.ru_maxrss) * 1024; // kibibytes on Linux
}
