// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>

class InputFile;

/// The head of a patch. The three compressed blocks follow it without a gap:
///
///      0  "BSDIFF40"
///      8  bytes of the control block
///     16  bytes of the diff block
///     24  bytes of the new file
///     32  control block, diff block, extra block up to the end of the patch
struct PatchHeader {
    std::int64_t controlBegin = 0;
    std::int64_t diffBegin = 0;
    std::int64_t extraBegin = 0;
    std::int64_t extraEnd = 0;
    std::int64_t newSize = 0;

    /// Reads the head of @p patch. The blocks lie within the patch, in this order; the size of the
    /// new file is not negative, and nothing else is known of it.
    ///
    /// Errors: throws PatchError.
    static PatchHeader Read(InputFile &patch);
};
