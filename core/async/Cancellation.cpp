#include "Cancellation.h"

void CancellationState::cancel()
{
    if (m_cancelled->exchange(true, std::memory_order_relaxed))
        return;
    Q_EMIT cancelled();
}

CancellationToken CancellationToken::create()
{
    CancellationToken token;
    token.m_state = std::make_shared<CancellationState>();
    return token;
}
