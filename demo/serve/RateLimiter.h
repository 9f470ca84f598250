// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <mutex>

/// Shares a number of bytes per second between all connections. It is a token bucket whose state is
/// one point in time: when all bytes that were allowed so far will have been sent at that rate.
///
/// Thread: any. Errors: none.
class RateLimiter
{
public:
    /// @param bytesPerSecond 0 is unlimited
    explicit RateLimiter(std::uint64_t bytesPerSecond);

    /// The bytes to send at a time: few enough that slow rates are even and connections take turns.
    std::size_t ChunkSize() const { return m_chunkSize; }

    /// Blocks the thread until @p bytes may be sent.
    void Pay(std::size_t bytes);

private:
    using Clock = std::chrono::steady_clock;

    const std::uint64_t m_bytesPerSecond;
    const std::size_t m_chunkSize;
    std::mutex m_mutex;
    Clock::time_point m_paidUntil;
};
