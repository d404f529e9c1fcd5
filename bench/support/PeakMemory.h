#pragma once

#include <QtGlobal>

// How far the process's resident memory grows during a piece of work, from the kernel's own
// accounting (Linux): start() resets the high-water mark VmHWM to the current resident size (by
// writing 5 to /proc/self/clear_refs) and remembers that size; growth() is VmHWM minus it.
//
// The growth counts every page the work touched beyond what was already resident: the objects it
// built and still holds, temporaries freed before the end, allocator overhead and pages the
// allocator keeps. Memory that was resident before start() (input already loaded) is not counted;
// pages reused from earlier freed allocations are not counted either, so measure the first run of
// the work in a fresh process.
//
// Where the mark cannot be reset, the growth is the process's lifetime peak (getrusage's
// ru_maxrss) minus the resident size at start: the same figure as long as the work's peak is the
// highest the process has reached, which holds when it runs right after loading its input.
class PeakMemory
{
public:
    enum class Method
    {
        highWaterMark,
        lifetimePeak,
        unavailable
    };

    static PeakMemory start();

    Method method() const { return m_method; }
    // Bytes; -1 when unavailable.
    qint64 growth() const;
    qint64 residentAtStart() const { return m_residentAtStart; }

    // The current resident size, high-water mark and lifetime peak, in bytes; -1 when unreadable.
    static qint64 residentBytes();
    static qint64 highWaterMarkBytes();
    static qint64 lifetimePeakBytes();

private:
    qint64 m_residentAtStart = -1;
    Method m_method = Method::unavailable;
};
