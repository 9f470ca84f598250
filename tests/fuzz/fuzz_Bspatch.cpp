// SPDX-License-Identifier: MIT

// The patch program. The first byte chooses how the rest is used: as a whole patch, which is mostly
// refused early, or as the contents of the blocks, which are packed here, so that the code behind
// the unpacking is reached.

#include "host/bspatch/BspatchProgram.h"
#include "host/bspatch/InputFile.h"
#include "host/bspatch/PatchError.h"
#include "host/bspatch/PatchHeader.h"
#include "tests/fuzz/FuzzFolder.h"
#include "tests/fuzz/FuzzTarget.h"
#include "tests/support/BsdiffWriter.h"

#include <QFile>

namespace
{
/// A patch may name any size of the new file. Larger ones are not tried, so that a run stays fast.
constexpr std::int64_t mostNewBytes = 1048576;

/// Removes a piece from the front of @p bytes; its first two bytes are its length.
QByteArray gTakePiece(QByteArray &bytes)
{
    const auto at = [&bytes](int index) {
        return bytes.size() > index ? static_cast<unsigned char>(bytes.at(index)) : 0;
    };
    const int size = at(0) + 256 * at(1);
    const QByteArray piece = bytes.mid(2, size);
    bytes.remove(0, 2 + piece.size());
    return piece;
}

QByteArray gPatchFrom(QByteArray input, bool packedHere)
{
    if (!packedHere) {
        return input;
    }
    BsdiffWriter::Blocks blocks;
    blocks.control = gTakePiece(input);
    blocks.diff = gTakePiece(input);
    blocks.extra = gTakePiece(input);
    return BsdiffWriter::Build(blocks, blocks.diff.size() + blocks.extra.size());
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const FuzzFolder folder;
    QByteArray input(reinterpret_cast<const char *>(data), static_cast<int>(size));
    const bool packedHere = input.startsWith('b');
    input.remove(0, 1);
    folder.Write("old", gTakePiece(input));
    folder.Write("patch", gPatchFrom(input, packedHere));
    const std::filesystem::path path(folder.Path().toStdString());
    try {
        InputFile patch(path / "patch");
        if (PatchHeader::Read(patch).newSize <= mostNewBytes) {
            BspatchProgram::Apply(path / "old", path / "new", path / "patch");
        }
    } catch (const PatchError &) {
        // Expected for most inputs.
    }
    return 0;
}
