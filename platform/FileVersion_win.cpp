// SPDX-License-Identifier: MIT

#include "platform/FileVersion.h"

#include "platform/PeVersionResource.h"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <cstddef>
#include <vector>

#include <windows.h>

namespace
{
/// The value of the version structure at @p block, with its length in the value's own units.
template<typename Value>
const Value *gVersionValue(const std::vector<char> &resource, const QString &block, UINT *length)
{
    void *value = nullptr;
    const std::wstring name = block.toStdWString();
    if (VerQueryValueW(resource.data(), name.c_str(), &value, length) == FALSE) {
        return nullptr;
    }
    return static_cast<const Value *>(value);
}

std::vector<char> gVersionResource(const QString &path)
{
    const std::wstring name = QDir::toNativeSeparators(path).toStdWString();
    DWORD unused = 0;
    const DWORD size = GetFileVersionInfoSizeW(name.c_str(), &unused);
    if (size == 0) {
        return {};
    }
    std::vector<char> resource(size_t{size} + 1);
    if (GetFileVersionInfoW(name.c_str(), 0, size, resource.data()) == FALSE) {
        return {};
    }
    return resource;
}

QString gFourHexDigits(WORD number)
{
    return (QStringLiteral("000") + QString::number(number, 16)).right(4);
}

QString gFileVersion(const QString &path)
{
    struct Translation {
        WORD language;
        WORD codePage;
    };

    const std::vector<char> resource = gVersionResource(path);
    if (resource.empty()) {
        return QStringLiteral("");
    }
    UINT length = 0;
    const auto *translation =
        gVersionValue<Translation>(resource, QStringLiteral("\\VarFileInfo\\Translation"), &length);
    if (translation == nullptr || length < sizeof(Translation)) {
        return QStringLiteral("");
    }
    const QString table =
        gFourHexDigits(translation->language) + gFourHexDigits(translation->codePage);
    const auto *version = gVersionValue<wchar_t>(
        resource, QStringLiteral("\\StringFileInfo\\") + table + QStringLiteral("\\FileVersion"),
        &length);
    if (version == nullptr) {
        return QStringLiteral("");
    }
    // Up to the terminator: some resource compilers count a text's length in bytes, others in
    // characters.
    const auto *end = reinterpret_cast<const wchar_t *>(resource.data() + resource.size() - 1);
    const auto most = qMin<std::ptrdiff_t>(length, end - version);
    return QString::fromWCharArray(
        version, static_cast<int>(std::find(version, version + most, L'\0') - version));
}
} // namespace

QString FileVersionString(const QString &path)
{
    // On a damaged file the system follows offsets out of the data and crashes the process, and any
    // user may put a file into the shared folder. So the system reads only what `gPeFileVersion`
    // has found undamaged.
    QFile file(path);
    const bool hasVersion = file.open(QIODevice::ReadOnly) && !gPeFileVersion(file).isEmpty();
    return hasVersion ? gFileVersion(path) : QStringLiteral("");
}
