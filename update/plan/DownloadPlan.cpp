// SPDX-License-Identifier: MIT

#include "update/plan/DownloadPlan.h"

std::array<ByteRange, ResumeState::rangeCount> gSplitIntoRanges(qint64 total)
{
    std::array<ByteRange, ResumeState::rangeCount> ranges;
    const qint64 segmentSize = total / ResumeState::rangeCount;
    // Start values live in 32 bits, as the resume-state file reads them.
    qint32 start = 0;
    for (ByteRange &range : ranges) {
        range.start = start;
        range.end = start + segmentSize - 1;
        start = static_cast<qint32>(start + segmentSize);
    }
    ranges.back().end = total - 1;
    return ranges;
}
