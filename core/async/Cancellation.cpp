#include "Cancellation.h"

void CancellationState::cancel()
{
    if (m_cancelled)
        return;
    m_cancelled = true;
    Q_EMIT cancelled();
}

CancellationToken CancellationToken::create()
{
    CancellationToken token;
    token.m_state = std::make_shared<CancellationState>();
    return token;
}
