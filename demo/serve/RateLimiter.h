// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <mutex>

/// Shares a number of bytes per second between all connections: a token bucket kept as the moment
/// at which the bytes promised so far will all have been sent.
///
/// Thread: any. Errors: none.
class RateLimiter
{
public:
    /// @param bytesPerSecond 0 is unlimited
    explicit RateLimiter(std::uint64_t bytesPerSecond);

    /// How many bytes to send at a time, so that slow rates stay smooth and connections take turns.
    std::size_t ChunkSize() const { return m_chunkSize; }

    /// Waits until @p bytes may be sent.
    void Pay(std::size_t bytes);

private:
    using Clock = std::chrono::steady_clock;

    const std::uint64_t m_bytesPerSecond;
    const std::size_t m_chunkSize;
    std::mutex m_mutex;
    Clock::time_point m_paidUntil;
};
