// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdint>

/// How many bytes a number takes in a patch.
constexpr std::size_t patchNumberSize = 8;

/// The number at @p bytes as a patch stores it: the magnitude, lowest byte first, and the sign in the
/// highest bit. There is a minus zero, which is zero; the lowest 64-bit number cannot be stored.
std::int64_t gPatchNumber(const unsigned char *bytes);
