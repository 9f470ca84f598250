// SPDX-License-Identifier: MIT

#include "update/transfer/RetryPolicy.h"

void RetryPolicy::BytesReceived(qint64 bytes)
{
    m_cuts = 0;
    m_stalls = 0;
    m_isAskingAgain = false;
    m_delivered += bytes;
}

std::optional<std::chrono::milliseconds> RetryPolicy::Cut()
{
    m_isAskingAgain = true;
    const bool isAccident = m_delivered >= worthAskingAtOnce;
    m_delivered = 0;
    if (isAccident) {
        return std::chrono::milliseconds(0);
    }
    if (m_cuts == mostCuts) {
        return std::nullopt;
    }
    return std::chrono::seconds(1 << m_cuts++);
}

bool RetryPolicy::Stalled()
{
    m_isAskingAgain = true;
    return ++m_stalls < mostStalls;
}
