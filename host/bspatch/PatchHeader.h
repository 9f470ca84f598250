// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>

class InputFile;

/// The head of a patch in the format of bsdiff 4, and the places of the three compressed blocks
/// that follow it without a gap. By byte offset:
///
///      0  "BSDIFF40"
///      8  size of the control block in bytes
///     16  size of the diff block in bytes
///     24  size of the new file in bytes
///     32  control block, diff block, extra block up to the end of the patch
///
/// The three sizes are numbers as `gPatchNumber` reads them.
struct PatchHeader {
    std::int64_t controlBegin = 0;
    std::int64_t diffBegin = 0;
    std::int64_t extraBegin = 0;
    std::int64_t extraEnd = 0;
    std::int64_t newSize = 0;

    /// Reads the head of @p patch. In the result the blocks lie within the patch, in this order,
    /// and the size of the new file is not negative. That size is not checked against the data.
    ///
    /// Errors: throws PatchError.
    static PatchHeader Read(InputFile &patch);
};
