// SPDX-License-Identifier: MIT

#include "update/transfer/RetryPolicy.h"

void RetryPolicy::ByteReceived()
{
    m_cuts = 0;
    m_stalls = 0;
}

std::optional<std::chrono::milliseconds> RetryPolicy::Cut()
{
    if (m_cuts == mostCuts) {
        return std::nullopt;
    }
    return std::chrono::seconds(1 << m_cuts++);
}

bool RetryPolicy::Stalled()
{
    return ++m_stalls < mostStalls;
}
