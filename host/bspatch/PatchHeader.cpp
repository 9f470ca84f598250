// SPDX-License-Identifier: MIT

#include "host/bspatch/PatchHeader.h"

#include "host/bspatch/InputFile.h"
#include "host/bspatch/PatchError.h"
#include "host/bspatch/PatchNumber.h"

#include <array>
#include <cstring>

namespace
{
constexpr char magic[] = "BSDIFF40";
constexpr std::size_t magicSize = sizeof(magic) - 1;
constexpr std::size_t headerSize = magicSize + 3 * patchNumberSize;
} // namespace

PatchHeader PatchHeader::Read(InputFile &patch)
{
    std::array<unsigned char, headerSize> bytes{};
    const auto sizeOfHeader = static_cast<std::int64_t>(bytes.size());
    if (patch.Size() < sizeOfHeader) {
        throw PatchError(patch.Path(), "is too short for a patch");
    }
    patch.ReadAt(0, bytes.data(), bytes.size());
    if (std::memcmp(bytes.data(), magic, magicSize) != 0) {
        throw PatchError(patch.Path(), "is not a BSDIFF40 patch");
    }

    const std::int64_t controlSize = gPatchNumber(bytes.data() + magicSize);
    const std::int64_t diffSize = gPatchNumber(bytes.data() + magicSize + patchNumberSize);
    const std::int64_t newSize = gPatchNumber(bytes.data() + magicSize + 2 * patchNumberSize);
    const std::int64_t sizeOfBlocks = patch.Size() - sizeOfHeader;
    if (controlSize < 0 || diffSize < 0 || newSize < 0 || controlSize > sizeOfBlocks ||
        diffSize > sizeOfBlocks - controlSize) {
        throw PatchError(patch.Path(), "is damaged: a size in its header is impossible");
    }

    PatchHeader header;
    header.controlBegin = sizeOfHeader;
    header.diffBegin = header.controlBegin + controlSize;
    header.extraBegin = header.diffBegin + diffSize;
    header.extraEnd = patch.Size();
    header.newSize = newSize;
    return header;
}
