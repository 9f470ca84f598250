// SPDX-License-Identifier: MIT

#include "host/bspatch/PatchNumber.h"

std::int64_t gPatchNumber(const unsigned char *bytes)
{
    std::int64_t magnitude = bytes[patchNumberSize - 1] & 0x7f;
    for (std::size_t index = patchNumberSize - 1; index-- > 0;) {
        magnitude = magnitude * 256 + bytes[index];
    }
    const bool negative = (bytes[patchNumberSize - 1] & 0x80) != 0;
    return negative ? -magnitude : magnitude;
}
