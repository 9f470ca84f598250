// SPDX-License-Identifier: MIT

#include "tests/support/PeBuilder.h"

#include <QtEndian>

namespace
{
constexpr int peOffset = 0x80;
constexpr int codeOffset = 0x400;
constexpr quint32 codeAddress = 0x1000;
constexpr quint32 resourceAddress = 0x3000;
constexpr quint32 subdirectory = 0x80000000;
constexpr quint32 iconType = 3;
constexpr quint32 versionType = 16;

/// Bytes in the little-endian order of the format.
class Bytes
{
public:
    template<typename Integer>
    Bytes &Add(Integer value)
    {
        const Integer little = qToLittleEndian(value);
        m_data.append(reinterpret_cast<const char *>(&little), sizeof(little));
        return *this;
    }

    Bytes &Word(int value) { return Add(static_cast<quint16>(value)); }
    Bytes &Long(quint32 value) { return Add(value); }
    Bytes &Text(const QString &text)
    {
        for (const QChar unit : text) {
            Add(unit.unicode());
        }
        return Add(quint16(0));
    }
    Bytes &Raw(const QByteArray &bytes)
    {
        m_data.append(bytes);
        return *this;
    }
    Bytes &PadTo(int size)
    {
        m_data.append(QByteArray(qMax(0, size - m_data.size()), '\0'));
        return *this;
    }
    Bytes &Align(int alignment)
    {
        return PadTo((m_data.size() + alignment - 1) / alignment * alignment);
    }

    int Size() const { return m_data.size(); }
    QByteArray Data() const { return m_data; }

private:
    QByteArray m_data;
};

/// One node of a version resource: three numbers, a key, a value and child nodes, each on a
/// multiple of four bytes.
QByteArray gNode(const QString &key, bool text, const QByteArray &value, const QByteArray &children)
{
    Bytes behindLength;
    behindLength.Word(text ? value.size() / 2 : value.size()).Word(text ? 1 : 0).Text(key);
    Bytes node;
    node.Word(0).Raw(behindLength.Data()).Align(4).Raw(value);
    if (!children.isEmpty()) {
        node.Align(4).Raw(children);
    }
    return Bytes().Word(node.Size()).Raw(node.Data().mid(2)).Data();
}

QByteArray gAligned(const QByteArray &node)
{
    return Bytes().Raw(node).Align(4).Data();
}

/// A resource directory whose entries are all found by number.
QByteArray gDirectory(const QList<QPair<quint32, quint32>> &entries)
{
    Bytes directory;
    directory.Long(0).Long(0).Word(0).Word(0).Word(0).Word(entries.size());
    for (const auto &entry : entries) {
        directory.Long(entry.first).Long(entry.second);
    }
    return directory.Data();
}

QByteArray gSectionHeader(const QByteArray &name, int size, quint32 address, int fileOffset)
{
    const auto rawSize = static_cast<quint32>((size + 0x1ff) / 0x200 * 0x200);
    Bytes header;
    header.Raw(name).PadTo(8).Long(static_cast<quint32>(size)).Long(address);
    header.Long(rawSize).Long(static_cast<quint32>(fileOffset));
    return header.PadTo(36).Long(0x40000040).Data();
}
} // namespace

PeBuilder PeBuilder::WithFileVersion(const QString &fileVersion)
{
    PeBuilder builder;
    builder.AddTranslation(0x409, 0x4b0);
    builder.AddString("040904b0", "CompanyName", "Example");
    builder.AddString("040904b0", "FileVersion", fileVersion);
    builder.AddString("040904b0", "ProductVersion", "77.0");
    return builder;
}

PeBuilder &PeBuilder::SetFormat(Format format)
{
    m_format = format;
    return *this;
}

PeBuilder &PeBuilder::AddTranslation(quint16 language, quint16 codePage)
{
    m_translations.append({language, codePage});
    return *this;
}

PeBuilder &PeBuilder::AddString(const QString &table, const QString &name, const QString &value)
{
    if (m_tables.isEmpty() || m_tables.last().key != table) {
        m_tables.append({table, {}});
    }
    m_tables.last().strings.append({name, value});
    return *this;
}

PeBuilder &PeBuilder::SetFixedVersion(quint16 major, quint16 minor, quint16 build, quint16 revision)
{
    m_fixedVersion = {major, minor, build, revision};
    return *this;
}

PeBuilder &PeBuilder::PutTranslationsFirst()
{
    m_translationsFirst = true;
    return *this;
}

PeBuilder &PeBuilder::AddLanguage(quint16 language, const PeBuilder &other)
{
    m_languages.append({language, other.VersionInfo()});
    return *this;
}

PeBuilder &PeBuilder::LeaveOutVersionResource()
{
    m_versionResource = false;
    return *this;
}

PeBuilder &PeBuilder::LeaveOutResources()
{
    m_resources = false;
    return *this;
}

QByteArray PeBuilder::Build() const
{
    const QByteArray resources = m_resources ? ResourceSection() : QByteArray();
    Bytes image;
    image.Raw(Headers(resources.size())).PadTo(codeOffset).PadTo(resourceDirectory);
    return image.Raw(resources).Align(0x200).Data();
}

int PeBuilder::VersionInfoOffset() const
{
    return resourceDirectory + ResourceTree().size();
}

int PeBuilder::VersionInfoEnd() const
{
    return VersionInfoOffset() + VersionResources().first().second.size();
}

QByteArray PeBuilder::Headers(int resourceSize) const
{
    const QByteArray optionalHeader = OptionalHeader(resourceSize);
    Bytes headers;
    headers.Raw("MZ").PadTo(0x3c).Long(peOffset).PadTo(peOffset).Raw(QByteArray("PE\0\0", 4));
    headers.Word(m_format == Format::Pe32 ? 0x14c : 0x8664).Word(m_resources ? 2 : 1);
    headers.Long(0).Long(0).Long(0).Word(optionalHeader.size()).Word(0x22);
    headers.Raw(optionalHeader).Raw(gSectionHeader(".text", 0x200, codeAddress, codeOffset));
    if (m_resources) {
        headers.Raw(gSectionHeader(".rsrc", resourceSize, resourceAddress, resourceDirectory));
    }
    return headers.Data();
}

QByteArray PeBuilder::OptionalHeader(int resourceSize) const
{
    const bool is32 = m_format == Format::Pe32;
    Bytes header;
    header.Word(is32 ? 0x10b : 0x20b).PadTo(32).Long(0x1000).Long(0x200).PadTo(56).Long(0x5000);
    // The number of data directories; the third of them is that of the resources.
    header.Long(codeOffset).PadTo(is32 ? 92 : 108).Long(16).PadTo((is32 ? 96 : 112) + 2 * 8);
    header.Long(m_resources ? resourceAddress : 0).Long(static_cast<quint32>(resourceSize));
    return header.PadTo((is32 ? 96 : 112) + 16 * 8).Data();
}

QByteArray PeBuilder::ResourceSection() const
{
    QByteArray section = ResourceTree();
    for (const auto &resource : VersionResources()) {
        section += resource.second;
    }
    return section;
}

QByteArray PeBuilder::ResourceTree() const
{
    // Type, name and language have a directory each; the icon comes first, as its number is lower.
    const quint32 oneEntry = 16 + 8;
    const quint32 iconNames = m_versionResource ? 16 + 2 * 8 : oneEntry;
    const quint32 iconEntry = iconNames + 2 * oneEntry;
    const quint32 versionNames = iconEntry + 16;
    const QList<QPair<quint16, QByteArray>> versions = VersionResources();
    const auto languages = static_cast<quint32>(versions.size());
    const quint32 versionEntry = versionNames + oneEntry + 16 + languages * 8;

    QList<QPair<quint32, quint32>> root{{iconType, subdirectory | iconNames}};
    if (m_versionResource) {
        root.append({versionType, subdirectory | versionNames});
    }
    Bytes tree;
    tree.Raw(gDirectory(root));
    tree.Raw(gDirectory({{1, subdirectory | (iconNames + oneEntry)}}));
    tree.Raw(gDirectory({{0x409, iconEntry}}));
    tree.Long(resourceAddress).Long(16).Long(0).Long(0);
    if (m_versionResource) {
        tree.Raw(gDirectory({{1, subdirectory | (versionNames + oneEntry)}}));
        QList<QPair<quint32, quint32>> directory;
        Bytes entries;
        quint32 address = resourceAddress + versionEntry + languages * 16;
        for (const auto &version : versions) {
            const auto size = static_cast<quint32>(version.second.size());
            directory.append({version.first, versionEntry + static_cast<quint32>(entries.Size())});
            entries.Long(address).Long(size).Long(0).Long(0);
            address += size;
        }
        tree.Raw(gDirectory(directory)).Raw(entries.Data());
    }
    return tree.Data();
}

QList<QPair<quint16, QByteArray>> PeBuilder::VersionResources() const
{
    if (!m_versionResource || !m_languages.isEmpty()) {
        return m_languages;
    }
    return {{0x409, VersionInfo()}};
}

QByteArray PeBuilder::VersionInfo() const
{
    const QByteArray strings = gAligned(StringFileInfo());
    const QByteArray translations = gAligned(VarFileInfo());
    return gNode("VS_VERSION_INFO", false, FixedFileInfo(),
                 m_translationsFirst ? translations + strings : strings + translations);
}

QByteArray PeBuilder::StringFileInfo() const
{
    QByteArray tables;
    for (const Table &table : m_tables) {
        QByteArray strings;
        for (const auto &string : table.strings) {
            strings += gAligned(gNode(string.first, true, Bytes().Text(string.second).Data(), {}));
        }
        tables += gAligned(gNode(table.key, true, {}, strings));
    }
    return gNode("StringFileInfo", true, {}, tables);
}

QByteArray PeBuilder::VarFileInfo() const
{
    if (m_translations.isEmpty()) {
        return {};
    }
    Bytes pairs;
    for (const auto &pair : m_translations) {
        pairs.Word(pair.first).Word(pair.second);
    }
    return gNode("VarFileInfo", true, {}, gNode("Translation", false, pairs.Data(), {}));
}

QByteArray PeBuilder::FixedFileInfo() const
{
    Bytes info;
    info.Long(0xfeef04bd).Long(0x10000);
    for (int copy = 0; copy < 2; ++copy) { // of the file, and of the product
        info.Word(m_fixedVersion[1]).Word(m_fixedVersion[0]);
        info.Word(m_fixedVersion[3]).Word(m_fixedVersion[2]);
    }
    return info.PadTo(52).Data();
}
