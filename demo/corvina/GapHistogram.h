// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

#include <map>

/// Counts gaps by their length in steps of 10 µs, so that an hour of them takes no more memory than
/// a second.
///
/// Thread: any, one at a time.
class GapHistogram
{
public:
    void Add(qint64 nanoseconds);

    /// The longest gap, in milliseconds; 0 when there is none.
    double MaxMs() const;
    /// The shortest length that at most one gap in a thousand exceeds, in milliseconds, rounded
    /// down to a step; 0 when there is none.
    double P999Ms() const;

private:
    std::map<qint64, qint64> m_counts;
    qint64 m_longest = 0;
    qint64 m_total = 0;
};
