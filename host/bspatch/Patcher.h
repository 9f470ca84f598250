// SPDX-License-Identifier: MIT

#pragma once

#include "host/bspatch/Bzip2Stream.h"
#include "host/bspatch/PatchHeader.h"

#include <cstdint>
#include <vector>

class InputFile;
class NewFile;
class OldFile;

/// Makes the new file by applying the patch. The control block is a list of steps of three numbers:
///
///     added    so many bytes of the diff block, each added to one of the old file, are written
///     copied   then so many bytes of the extra block are written
///     skipped  then the place in the old file moves so many bytes forward; backward when negative
///
/// In memory are a small buffer and the state of the three compressed blocks, whatever sizes the
/// patch names. Nothing is allocated or written before its data has been read.
///
/// Ownership: both files outlive this object.
/// Errors: the constructor and `WriteTo` throw PatchError.
class Patcher
{
public:
    Patcher(InputFile &patch, OldFile &oldFile);

    /// Writes the whole new file. It is an error when a block of the patch has more data than the
    /// new file takes. Call it once.
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
