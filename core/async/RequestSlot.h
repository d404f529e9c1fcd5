#pragma once

#include "Cancellation.h"

#include <QUuid>

#include <memory>
#include <utility>

// One kind of request that a model runs at most once at a time (the channel load, the catalogue
// list, the open detail, a navigation step waiting for a load). Starting a request cancels the one
// before it and gives the slot a fresh identifier; an answer is applied only while its ticket is
// still current. The ticket also stops being current when the slot's owner is destroyed, so a
// coroutine that outlives its model never touches it.
//
//     const RequestSlot::Ticket ticket = m_load.begin();
//     auto channels = co_await repository.load(source, ticket.cancellation());
//     ticket.cancellation().throwIfCancelled();
//     if (!ticket.isCurrent())
//         co_return;                   // a newer request has taken over: drop the answer
//
// Staleness is decided by the identifier, never by cancellation alone: a cancelled request may still
// complete, and its answer is then dropped because the identifier has changed. Main thread only.
class RequestSlot
{
    struct State
    {
        QUuid current = QUuid::createUuid();
        CancellationToken cancellation;
    };

public:
    class Ticket
    {
    public:
        // Whether this is still the slot's latest request and the slot still exists.
        bool isCurrent() const
        {
            const auto state = m_state.lock();
            return state && state->current == m_id;
        }
        const QUuid &id() const { return m_id; }
        // Cancelled when a newer request starts, when the slot is invalidated, and with the slot.
        const CancellationToken &cancellation() const { return m_cancellation; }

    private:
        friend class RequestSlot;
        Ticket(std::weak_ptr<State> state, QUuid id, CancellationToken cancellation)
            : m_state(std::move(state)), m_id(std::move(id)), m_cancellation(std::move(cancellation))
        {
        }

        std::weak_ptr<State> m_state;
        QUuid m_id;
        CancellationToken m_cancellation;
    };

    RequestSlot() = default;
    RequestSlot(const RequestSlot &) = delete;
    RequestSlot &operator=(const RequestSlot &) = delete;
    // A request still running finds itself stale before it learns of its cancellation.
    ~RequestSlot() { invalidate(); }

    // Cancels the previous request and makes a new current one.
    Ticket begin()
    {
        const CancellationToken previous = std::exchange(m_state->cancellation, CancellationToken::create());
        m_state->current = QUuid::createUuid();
        // Only now: a cancelled request may resume at once, and must already find itself stale.
        previous.cancel();
        return Ticket(m_state, m_state->current, m_state->cancellation);
    }

    // Cancels the current request and changes the identifier, so that an answer still on its way is
    // dropped. No request is current afterwards.
    void invalidate()
    {
        const CancellationToken previous = std::exchange(m_state->cancellation, CancellationToken());
        m_state->current = QUuid::createUuid();
        previous.cancel();
    }

    // The identifier of the latest request (or of the latest invalidation).
    const QUuid &currentID() const { return m_state->current; }

private:
    std::shared_ptr<State> m_state = std::make_shared<State>();
};
