#pragma once

#include <QObject>

#include <exception>
#include <memory>

// Thrown by an operation whose caller cancelled it. Carries no text: a cancelled task shows nothing.
class CancelledError : public std::exception
{
public:
    const char *what() const noexcept override { return "cancelled"; }
};

class CancellationState : public QObject
{
    Q_OBJECT
public:
    bool isCancelled() const { return m_cancelled; }
    void cancel();

Q_SIGNALS:
    void cancelled();

private:
    bool m_cancelled = false;
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

private:
    std::shared_ptr<CancellationState> m_state;
};
