#pragma once

#include <QtGlobal>

#include <ctime>

// CPU time consumed by the whole process (every thread), in nanoseconds. Unlike wall time it barely
// moves when other work shares the machine, so it shows a benchmark's cost on a busy machine.
namespace CpuClock {
inline qint64 processNanoseconds()
{
    timespec now {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return qint64(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

// CPU time consumed by the calling thread alone, in nanoseconds.
inline qint64 threadNanoseconds()
{
    timespec now {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return qint64(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}
} // namespace CpuClock
