// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdint>

/// The size of a number in a patch, in bytes.
constexpr std::size_t patchNumberSize = 8;

/// The number at @p bytes as bsdiff 4 stores it: the magnitude, lowest byte first, and the sign in
/// the highest bit. A stored minus zero is read as zero; the lowest 64-bit number cannot be stored.
std::int64_t gPatchNumber(const unsigned char *bytes);
