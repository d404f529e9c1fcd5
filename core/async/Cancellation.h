#pragma once

#include <QObject>

#include <atomic>
#include <exception>
#include <memory>

// Thrown by an operation whose caller cancelled it. Carries no text: a cancelled task shows nothing.
class CancelledError : public std::exception
{
public:
    const char *what() const noexcept override { return "cancelled"; }
};

// Whether an operation was cancelled, as work running on another thread sees it: a copy polls the
// same flag as the token it came from, and holds no QObject (it may be dropped on any thread). A
// default flag is never raised.
class CancellationFlag
{
public:
    CancellationFlag() = default;

    bool isRaised() const { return m_raised && m_raised->load(std::memory_order_relaxed); }
    void throwIfRaised() const
    {
        if (isRaised())
            throw CancelledError();
    }

private:
    friend class CancellationState;
    explicit CancellationFlag(std::shared_ptr<const std::atomic<bool>> raised) : m_raised(std::move(raised)) {}

    std::shared_ptr<const std::atomic<bool>> m_raised;
};

// A look at a flag once every `interval` passes, for loops over many small steps (the lines of a
// playlist, the rows of an answer): the first pass looks, so cancelled work does not start.
class CancellationCheckpoint
{
public:
    explicit CancellationCheckpoint(CancellationFlag flag, int interval = 4096)
        : m_flag(std::move(flag)), m_interval(interval)
    {
    }

    // Throws CancelledError when the flag is raised and this pass is one that looks.
    void pass()
    {
        if (m_countdown-- > 0)
            return;
        m_countdown = m_interval - 1;
        m_flag.throwIfRaised();
    }

private:
    CancellationFlag m_flag;
    int m_interval;
    int m_countdown = 0;
};

class CancellationState : public QObject
{
    Q_OBJECT
public:
    bool isCancelled() const { return m_cancelled->load(std::memory_order_relaxed); }
    void cancel();
    CancellationFlag flag() const { return CancellationFlag(m_cancelled); }

Q_SIGNALS:
    void cancelled();

private:
    std::shared_ptr<std::atomic<bool>> m_cancelled = std::make_shared<std::atomic<bool>>(false);
};

// The caller's side of a cancellable operation. Copies share one state; a default token is never
// cancelled. Operations either poll `isCancelled()` / `throwIfCancelled()` or react to the signal
// (a download aborts its transfer at once). Main thread only.
class CancellationToken
{
public:
    CancellationToken() = default;
    static CancellationToken create();

    bool isCancelled() const { return m_state && m_state->isCancelled(); }
    void throwIfCancelled() const
    {
        if (isCancelled())
            throw CancelledError();
    }
    void cancel() const
    {
        if (m_state)
            m_state->cancel();
    }
    // The object that emits `cancelled()`; null for a token that can never be cancelled.
    CancellationState *state() const { return m_state.get(); }
    // What work handed to another thread polls (parsing a large answer): the token itself stays on
    // the main thread.
    CancellationFlag flag() const { return m_state ? m_state->flag() : CancellationFlag(); }

private:
    std::shared_ptr<CancellationState> m_state;
};
