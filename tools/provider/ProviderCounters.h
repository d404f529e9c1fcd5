#pragma once

#include <atomic>

// What the server is doing right now, updated by its thread and readable from any other.
struct ProviderCounters
{
    std::atomic<int> connections {0};
    std::atomic<int> streams {0}; // live and stalled responses in progress
    std::atomic<long long> requests {0};
};
