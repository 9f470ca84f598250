// SPDX-License-Identifier: MIT

#pragma once

#include "update/plan/ResumeState.h"

#include <QtGlobal>

#include <array>

/// A range of bytes, both ends inclusive. An empty one ends one byte before it starts.
struct ByteRange {
    qint64 start = 0;
    qint64 end = -1;

    bool IsEmpty() const { return start == end + 1; }
};

/// Cuts a package of @p total bytes into five ranges: four of a fifth each, truncated, and the last
/// one with the remainder.
std::array<ByteRange, ResumeState::rangeCount> gSplitIntoRanges(qint64 total);
