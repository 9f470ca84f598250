// SPDX-License-Identifier: MIT

#include "platform/PeVersionResource.h"

#include "platform/LittleEndianBytes.h"

#include <QByteArray>
#include <QIODevice>

#include <optional>
#include <vector>

namespace
{
LittleEndianBytes gReadBlock(QIODevice &device, qint64 offset, qint64 size)
{
    if (offset < 0 || size < 0 || offset > device.size() - size || !device.seek(offset)) {
        return {};
    }
    return LittleEndianBytes(device.read(size));
}

// --- Headers and sections ------------------------------------------------------------------------

constexpr qint64 dosHeaderSize = 64;
constexpr qint64 peOffsetField = 0x3c;
constexpr qint64 coffHeaderSize = 24; // with the signature "PE\0\0" in front

/// Where the PE header begins, or nothing when the file has none.
std::optional<qint64> gPeHeaderOffset(QIODevice &device)
{
    const LittleEndianBytes dos = gReadBlock(device, 0, dosHeaderSize);
    if (dos.At<quint16>(0) != 0x5a4d) { // "MZ"
        return std::nullopt;
    }
    const qint64 offset = dos.At<quint32>(peOffsetField).value_or(0);
    if (gReadBlock(device, offset, 4).At<quint32>(0) != 0x00004550U) { // "PE\0\0"
        return std::nullopt;
    }
    return offset;
}

struct Section {
    quint32 virtualAddress;
    quint32 fileSize;
    quint32 fileOffset;
};

struct Image {
    std::vector<Section> sections;
    quint32 resourceAddress = 0;

    /// The file offset of @p size bytes at the virtual address @p address, all within one section.
    std::optional<qint64> FileOffset(qint64 address, qint64 size) const
    {
        for (const Section &section : sections) {
            const qint64 inSection = address - section.virtualAddress;
            if (inSection >= 0 && inSection <= section.fileSize - size) {
                return section.fileOffset + inSection;
            }
        }
        return std::nullopt;
    }
};

std::optional<Image> gReadImage(QIODevice &device)
{
    constexpr qint64 sectionHeaderSize = 40;
    constexpr quint32 resourceDirectoryIndex = 2;
    constexpr qint64 directoryEntry = 8;

    const auto peOffset = gPeHeaderOffset(device);
    if (!peOffset.has_value()) {
        return std::nullopt;
    }
    const LittleEndianBytes coff = gReadBlock(device, *peOffset, coffHeaderSize);
    const qint64 sectionCount = coff.At<quint16>(6).value_or(0);
    const qint64 optionalSize = coff.At<quint16>(20).value_or(0);
    const qint64 optionalOffset = *peOffset + coffHeaderSize;
    const LittleEndianBytes optional = gReadBlock(device, optionalOffset, optionalSize);

    // PE32 (0x10b) and PE32+ (0x20b) differ in the width of the fields before the data directories.
    const quint16 magic = optional.At<quint16>(0).value_or(0);
    if (magic != 0x10b && magic != 0x20b) {
        return std::nullopt;
    }
    const qint64 directories = magic == 0x10b ? 96 : 112;
    if (optional.At<quint32>(directories - 4).value_or(0) <= resourceDirectoryIndex) {
        return std::nullopt;
    }

    Image image;
    image.resourceAddress =
        optional.At<quint32>(directories + resourceDirectoryIndex * directoryEntry).value_or(0);
    const LittleEndianBytes table =
        gReadBlock(device, optionalOffset + optionalSize, sectionCount * sectionHeaderSize);
    for (qint64 at = 0; at + sectionHeaderSize <= table.Size(); at += sectionHeaderSize) {
        image.sections.push_back({*table.At<quint32>(at + 12), *table.At<quint32>(at + 16),
                                  *table.At<quint32>(at + 20)});
    }
    return image;
}

// --- Resource directory --------------------------------------------------------------------------

constexpr qint64 directoryHeaderSize = 16;
constexpr qint64 directoryEntrySize = 8;
constexpr quint32 subdirectoryFlag = 0x80000000U;

/// One level of the resource tree: the value field of the entry @p id, or of the first entry when
/// @p id is empty.
std::optional<quint32> gFindEntry(QIODevice &device, const Image &image, quint32 directory,
                                  std::optional<quint32> id)
{
    const qint64 address = qint64{image.resourceAddress} + directory;
    const auto headerOffset = image.FileOffset(address, directoryHeaderSize);
    if (!headerOffset.has_value()) {
        return std::nullopt;
    }
    const LittleEndianBytes header = gReadBlock(device, *headerOffset, directoryHeaderSize);
    const qint64 count =
        qint64{header.At<quint16>(12).value_or(0)} + header.At<quint16>(14).value_or(0);
    const qint64 size = count * directoryEntrySize;
    const auto entriesOffset = image.FileOffset(address + directoryHeaderSize, size);
    if (!entriesOffset.has_value()) {
        return std::nullopt;
    }
    const LittleEndianBytes entries = gReadBlock(device, *entriesOffset, size);
    for (qint64 at = 0; at + directoryEntrySize <= entries.Size(); at += directoryEntrySize) {
        if (!id.has_value() || entries.At<quint32>(at) == *id) {
            return entries.At<quint32>(at + 4);
        }
    }
    return std::nullopt;
}

/// The entry of a resource in several languages, in the order in which Windows chooses for a user
/// of US English: neutral, US English, the first one.
std::optional<quint32> gFindLanguage(QIODevice &device, const Image &image, quint32 directory)
{
    constexpr quint32 neutral = 0;
    constexpr quint32 usEnglish = 0x409;

    for (const quint32 language : {neutral, usEnglish}) {
        if (const auto entry = gFindEntry(device, image, directory, language); entry.has_value()) {
            return entry;
        }
    }
    return gFindEntry(device, image, directory, std::nullopt);
}

/// The bytes of the file's version resource; empty when it has none. Exactly three levels (type,
/// name, language) are read, so entries that lead back up the tree cause no loop.
LittleEndianBytes gReadVersionResource(QIODevice &device)
{
    constexpr quint32 versionType = 16;
    constexpr quint32 versionName = 1;
    constexpr qint64 largestResource = 0xffff; // VS_VERSIONINFO counts its own length in 16 bits

    const auto image = gReadImage(device);
    if (!image.has_value()) {
        return {};
    }
    const auto names = gFindEntry(device, *image, 0, versionType);
    if (!names.has_value() || (*names & subdirectoryFlag) == 0) {
        return {};
    }
    const auto languages = gFindEntry(device, *image, *names & ~subdirectoryFlag, versionName);
    if (!languages.has_value() || (*languages & subdirectoryFlag) == 0) {
        return {};
    }
    const auto data = gFindLanguage(device, *image, *languages & ~subdirectoryFlag);
    if (!data.has_value() || (*data & subdirectoryFlag) != 0) {
        return {};
    }
    const auto entryOffset = image->FileOffset(qint64{image->resourceAddress} + *data, 16);
    if (!entryOffset.has_value()) {
        return {};
    }
    const LittleEndianBytes entry = gReadBlock(device, *entryOffset, 16);
    const qint64 size = entry.At<quint32>(4).value_or(0);
    const auto offset = image->FileOffset(entry.At<quint32>(0).value_or(0), size);
    if (!offset.has_value() || size > largestResource) {
        return {};
    }
    return gReadBlock(device, *offset, size);
}

// --- VS_VERSIONINFO ------------------------------------------------------------------------------

/// One block of the version structure: 16-bit length, value length and type, a UTF-16 key, padding
/// to 32 bits, the value, padding, and child blocks up to the length.
struct Block {
    qint64 end = 0;
    QString key;
    qint64 value = 0;
    qint64 valueEnd = 0;
    qint64 children = 0;
};

qint64 gAligned(qint64 offset)
{
    return (offset + 3) & ~qint64{3};
}

std::optional<Block> gReadBlockAt(const LittleEndianBytes &resource, qint64 offset, qint64 limit)
{
    constexpr qint64 headerSize = 6;

    const auto length = resource.At<quint16>(offset);
    const auto valueLength = resource.At<quint16>(offset + 2);
    const auto isText = resource.At<quint16>(offset + 4);
    if (!length.has_value() || !valueLength.has_value() || !isText.has_value() ||
        *length < headerSize || offset + *length > limit) {
        return std::nullopt;
    }
    Block block;
    block.end = offset + *length;
    block.key = resource.TextAt(offset + headerSize, block.end);
    block.value = gAligned(offset + headerSize + (qint64{block.key.size()} + 1) * 2);
    // The length of a text is counted in UTF-16 units.
    block.valueEnd = qMin(block.end, block.value + qint64{*valueLength} * (*isText == 1 ? 2 : 1));
    block.children = gAligned(block.valueEnd);
    return block;
}

/// The child of @p parent with @p key, compared without case as the system's own look-up does.
std::optional<Block> gFindChild(const LittleEndianBytes &resource, const Block &parent,
                                const QString &key)
{
    qint64 offset = parent.children;
    while (const auto child = gReadBlockAt(resource, offset, parent.end)) {
        if (child->key.compare(key, Qt::CaseInsensitive) == 0) {
            return child;
        }
        offset = gAligned(child->end);
    }
    return std::nullopt;
}

/// Follows @p path from the structure's root, one key a level.
std::optional<Block> gBlockAtPath(const LittleEndianBytes &resource, const QStringList &path)
{
    auto block = gReadBlockAt(resource, 0, resource.Size());
    for (const QString &key : path) {
        if (!block.has_value()) {
            break;
        }
        block = gFindChild(resource, *block, key);
    }
    return block;
}

QString gFourHexDigits(quint16 number)
{
    return (QStringLiteral("000") + QString::number(number, 16)).right(4);
}

} // namespace

bool gIsPortableExecutable(QIODevice &device)
{
    return gPeHeaderOffset(device).has_value();
}

QString gPeFileVersion(QIODevice &device)
{
    const LittleEndianBytes resource = gReadVersionResource(device);
    const auto translation =
        gBlockAtPath(resource, {QStringLiteral("VarFileInfo"), QStringLiteral("Translation")});
    if (!translation.has_value() || translation->valueEnd - translation->value < 4) {
        return QStringLiteral("");
    }
    const auto language = resource.At<quint16>(translation->value);
    const auto codePage = resource.At<quint16>(translation->value + 2);
    if (!language.has_value() || !codePage.has_value()) {
        return QStringLiteral("");
    }
    const QString table = gFourHexDigits(*language) + gFourHexDigits(*codePage);
    const auto version = gBlockAtPath(
        resource, {QStringLiteral("StringFileInfo"), table, QStringLiteral("FileVersion")});
    if (!version.has_value()) {
        return QStringLiteral("");
    }
    // Up to the terminator: some resource compilers count a text's length in bytes, others in
    // units.
    return resource.TextAt(version->value, version->end);
}
