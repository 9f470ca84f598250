// SPDX-License-Identifier: MIT

#pragma once

#include "tests/update/hostile/HostileRow.h"

/// The answer of a server that is in order.
const FaultAnswer &gHonest();

/// The range @p number is answered with @p answer every time.
HostileRow::Spoil gAlways(int number, const FaultAnswer &answer);
/// The range @p number is answered with @p answer so many times, and properly from then on.
HostileRow::Spoil gAtFirst(int number, const FaultAnswer &answer, int times = 1);
/// The same for every range.
HostileRow::Spoil gAllRanges(const FaultAnswer &answer);
HostileRow::Spoil gAllRangesAtFirst(const FaultAnswer &answer);

/// The HEAD request for the size is answered with @p answer.
HostileRow::Spoil gHead(const FaultAnswer &answer);
