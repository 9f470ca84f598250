// SPDX-License-Identifier: MIT

#pragma once

#include "host/bspatch/Bzip2Stream.h"
#include "host/bspatch/PatchHeader.h"

#include <cstdint>
#include <vector>

class InputFile;
class NewFile;
class OldFile;

/// Makes the new file as the patch says. The control block is a list of steps, each three numbers:
///
///     (added, copied, skipped)
///       added    bytes of the diff block, added to as many of the old file, are the next ones
///       copied   bytes of the extra block follow
///       skipped  bytes forward, or backward when negative, is where the old file goes on
///
/// No more than a small buffer and the state of the three compressed blocks is kept in memory,
/// whatever sizes the patch names; nothing is allocated or written ahead of the data.
///
/// Ownership: both files outlive this object.
/// Errors: the constructor and `WriteTo` throw PatchError.
class Patcher
{
public:
    Patcher(InputFile &patch, OldFile &oldFile);

    /// Writes all of the new file. The blocks of the patch must end where the new file does. Call
    /// once.
    void WriteTo(NewFile &newFile);

private:
    struct Step {
        std::int64_t added = 0;
        std::int64_t copied = 0;
        std::int64_t skipped = 0;
    };

    Step NextStep(std::int64_t sizeLeft);
    void MoveInOldFile(std::int64_t distance);
    void WriteAdded(NewFile &newFile, std::int64_t size);
    void WriteCopied(NewFile &newFile, std::int64_t size);
    [[noreturn]] void FailAtStep() const;

    InputFile &m_patch;
    const PatchHeader m_header;
    Bzip2Stream m_control;
    Bzip2Stream m_diff;
    Bzip2Stream m_extra;
    OldFile &m_oldFile;
    std::int64_t m_oldPosition = 0;
    std::vector<unsigned char> m_buffer;
};
