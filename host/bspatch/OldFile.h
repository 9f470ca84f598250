// SPDX-License-Identifier: MIT

#pragma once

#include "host/bspatch/InputFile.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <vector>

/// The file that the patch applies to, read block by block.
///
/// Errors: the constructor and `AddTo` throw PatchError.
class OldFile
{
public:
    explicit OldFile(const std::filesystem::path &path);

    /// Adds the old file's bytes from @p position on to the @p size bytes at @p bytes, each modulo
    /// 256. Where the old file has no bytes, before its begin or behind its end, nothing is added.
    /// Precondition: @p position + @p size is a 64-bit number.
    void AddTo(std::int64_t position, unsigned char *bytes, std::size_t size);

private:
    void LoadBlockAt(std::int64_t position);

    InputFile m_file;
    // One block is kept, because a patch may go through the file in steps of a few bytes.
    std::vector<unsigned char> m_block;
    std::int64_t m_blockBegin = 0;
    std::int64_t m_blockEnd = 0;
};
