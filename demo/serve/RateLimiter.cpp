// SPDX-License-Identifier: MIT

#include "demo/serve/RateLimiter.h"

#include <algorithm>
#include <thread>

namespace
{
constexpr std::size_t largestChunk = 65536;
constexpr std::uint64_t chunksPerSecond = 100;
// How far a connection may catch up after the scheduler woke it late. More would cause bursts.
constexpr std::chrono::milliseconds credit{20};

std::size_t gChunkSizeFor(std::uint64_t bytesPerSecond)
{
    if (bytesPerSecond == 0) {
        return largestChunk;
    }
    const std::uint64_t smooth = bytesPerSecond / chunksPerSecond;
    return static_cast<std::size_t>(std::clamp<std::uint64_t>(smooth, 1, largestChunk));
}
} // namespace

RateLimiter::RateLimiter(std::uint64_t bytesPerSecond)
    : m_bytesPerSecond(bytesPerSecond)
    , m_chunkSize(gChunkSizeFor(bytesPerSecond))
    , m_paidUntil(Clock::now())
{
}

void RateLimiter::Pay(std::size_t bytes)
{
    if (m_bytesPerSecond == 0) {
        return;
    }
    const std::chrono::duration<double> price(static_cast<double>(bytes) /
                                              static_cast<double>(m_bytesPerSecond));
    std::unique_lock<std::mutex> lock(m_mutex);
    const Clock::time_point start = std::max(m_paidUntil, Clock::now() - credit);
    m_paidUntil = start + std::chrono::duration_cast<Clock::duration>(price);
    const Clock::time_point turn = m_paidUntil;
    lock.unlock();
    std::this_thread::sleep_until(turn);
}
