// SPDX-License-Identifier: MIT

#include "demo/corvina/GapHistogram.h"

#include <algorithm>

namespace
{
constexpr qint64 stepNanoseconds = 10000;
constexpr double nanosecondsPerMillisecond = 1e6;
constexpr double stepsPerMillisecond = nanosecondsPerMillisecond / stepNanoseconds;
} // namespace

void GapHistogram::Add(qint64 nanoseconds)
{
    ++m_counts[nanoseconds / stepNanoseconds];
    ++m_total;
    m_longest = std::max(m_longest, nanoseconds);
}

double GapHistogram::MaxMs() const
{
    return static_cast<double>(m_longest) / nanosecondsPerMillisecond;
}

double GapHistogram::P999Ms() const
{
    const qint64 mayExceed = m_total / 1000;
    qint64 exceeding = 0;
    for (auto count = m_counts.crbegin(); count != m_counts.crend(); ++count) {
        exceeding += count->second;
        if (exceeding > mayExceed) {
            return static_cast<double>(count->first) / stepsPerMillisecond;
        }
    }
    return 0;
}
