// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

#include <chrono>
#include <optional>

/// How often a range is asked for again, and when. A byte that arrives resets the count.
class RetryPolicy
{
public:
    static constexpr int mostCuts = 5;
    static constexpr int mostStalls = 3;

    /// A mebibyte since the last cut makes the next one an accident of a connection that works.
    static constexpr qint64 worthAskingAtOnce = qint64{1024} * 1024;

    void BytesReceived(qint64 bytes);

    /// The connection was cut. @return how long to wait before asking again: not at all where the
    /// connection has brought enough, else 1, 2, 4, 8 and 16 s; nothing when that was tried already.
    std::optional<std::chrono::milliseconds> Cut();

    /// Nothing arrived for the time of the watchdog. @return whether to ask again.
    bool Stalled();

    /// The range was asked for again, and no byte has arrived since.
    bool IsAskingAgain() const { return m_isAskingAgain; }

private:
    int m_cuts = 0;
    int m_stalls = 0;
    bool m_isAskingAgain = false;
    /// Bytes since the last cut.
    qint64 m_delivered = 0;
};
