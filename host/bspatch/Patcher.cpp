// SPDX-License-Identifier: MIT

#include "host/bspatch/Patcher.h"

#include "host/bspatch/InputFile.h"
#include "host/bspatch/NewFile.h"
#include "host/bspatch/OldFile.h"
#include "host/bspatch/PatchError.h"
#include "host/bspatch/PatchNumber.h"

#include <algorithm>
#include <array>
#include <limits>

namespace
{
constexpr std::int64_t bufferSize = 65536;
} // namespace

Patcher::Patcher(InputFile &patch, OldFile &oldFile)
    : m_patch(patch)
    , m_header(PatchHeader::Read(patch))
    , m_control(patch, "control", m_header.controlBegin, m_header.diffBegin)
    , m_diff(patch, "diff", m_header.diffBegin, m_header.extraBegin)
    , m_extra(patch, "extra", m_header.extraBegin, m_header.extraEnd)
    , m_oldFile(oldFile)
    , m_buffer(bufferSize)
{
}

void Patcher::WriteTo(NewFile &newFile)
{
    std::int64_t sizeLeft = m_header.newSize;
    while (sizeLeft > 0) {
        const Step step = NextStep(sizeLeft);
        WriteAdded(newFile, step.added);
        WriteCopied(newFile, step.copied);
        MoveInOldFile(step.skipped);
        sizeLeft -= step.added + step.copied;
    }
    m_control.ExpectEnd();
    m_diff.ExpectEnd();
    m_extra.ExpectEnd();
}

Patcher::Step Patcher::NextStep(std::int64_t sizeLeft)
{
    std::array<unsigned char, 3 * patchNumberSize> bytes{};
    m_control.Read(bytes.data(), bytes.size());
    Step step;
    step.added = gPatchNumber(bytes.data());
    step.copied = gPatchNumber(bytes.data() + patchNumberSize);
    step.skipped = gPatchNumber(bytes.data() + 2 * patchNumberSize);
    if (step.added < 0 || step.copied < 0 || step.added > sizeLeft ||
        step.copied > sizeLeft - step.added) {
        FailAtStep();
    }
    return step;
}

void Patcher::MoveInOldFile(std::int64_t distance)
{
    // The position may lie outside the old file, but has to stay within the range of its type.
    using Limits = std::numeric_limits<std::int64_t>;
    const bool possible = distance > 0 ? m_oldPosition <= Limits::max() - distance
                                       : m_oldPosition >= Limits::min() - distance;
    if (!possible) {
        FailAtStep();
    }
    m_oldPosition += distance;
}

void Patcher::WriteAdded(NewFile &newFile, std::int64_t size)
{
    while (size > 0) {
        const std::int64_t part = std::min(size, bufferSize);
        const std::int64_t position = m_oldPosition;
        MoveInOldFile(part);
        m_diff.Read(m_buffer.data(), static_cast<std::size_t>(part));
        m_oldFile.AddTo(position, m_buffer.data(), static_cast<std::size_t>(part));
        newFile.Write(m_buffer.data(), static_cast<std::size_t>(part));
        size -= part;
    }
}

void Patcher::WriteCopied(NewFile &newFile, std::int64_t size)
{
    while (size > 0) {
        const auto part = static_cast<std::size_t>(std::min(size, bufferSize));
        m_extra.Read(m_buffer.data(), part);
        newFile.Write(m_buffer.data(), part);
        size -= static_cast<std::int64_t>(part);
    }
}

void Patcher::FailAtStep() const
{
    throw PatchError(m_patch.Path(), "is damaged: its control block makes no sense");
}
