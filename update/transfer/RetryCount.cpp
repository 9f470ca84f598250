// SPDX-License-Identifier: MIT

#include "update/transfer/RetryCount.h"

void RetryCount::ByteReceived()
{
    m_cuts = 0;
    m_stalls = 0;
}

std::optional<std::chrono::milliseconds> RetryCount::Cut()
{
    if (m_cuts == mostCuts) {
        return std::nullopt;
    }
    return std::chrono::seconds(1 << m_cuts++);
}

bool RetryCount::Stalled()
{
    return ++m_stalls < mostStalls;
}
