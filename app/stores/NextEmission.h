#pragma once

#include <QObject>

#include <coroutine>

// Awaits the next emission of a signal: `co_await NextEmission(job, &Job::finished);`. The coroutine
// resumes from the event loop (a queued call), once the emitting code has returned, on the thread of
// `object`. The signal's arguments are not kept.
//
// Written here instead of QCoro's qCoro(object, signal): clang 14 cannot build that awaiter with
// sanitizers and debug information ("cannot represent a difference across sections").
template<typename Object, typename Signal> class NextEmission
{
public:
    NextEmission(Object *object, Signal signal)
        : m_object(object)
        , m_signal(signal)
    {
    }

    bool await_ready() const noexcept { return false; }
    void await_suspend(std::coroutine_handle<> waiting) const
    {
        QObject::connect(
            m_object, m_signal, m_object, [waiting](auto &&...) { waiting.resume(); },
            Qt::ConnectionType(Qt::QueuedConnection | Qt::SingleShotConnection));
    }
    void await_resume() const noexcept { }

private:
    Object *m_object;
    Signal m_signal;
};
