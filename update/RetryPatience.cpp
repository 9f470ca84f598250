// SPDX-License-Identifier: MIT

#include "update/RetryPatience.h"

void RetryPatience::ByteReceived()
{
    m_cuts = 0;
    m_stalls = 0;
}

std::optional<std::chrono::milliseconds> RetryPatience::Cut()
{
    if (m_cuts == mostCuts) {
        return std::nullopt;
    }
    return std::chrono::seconds(1 << m_cuts++);
}

bool RetryPatience::Stalled()
{
    return ++m_stalls < mostStalls;
}
