// SPDX-License-Identifier: MIT

#include "platform/FileIdentity.h"

#include <QDir>

#include <array>
#include <string>

#include <windows.h>

namespace
{
quint64 gJoin(DWORD high, DWORD low)
{
    constexpr int lowBits = 32;

    return (quint64{high} << lowBits) | low;
}

/// Whether a file's number says by itself that it is another one: NTFS counts how often a number was
/// given to a file, and the count is a part of it. The time at which a file was made is no help there: a
/// file gets that of another one that had its name until a moment before.
bool gCountsItsFiles(HANDLE file)
{
    std::array<wchar_t, MAX_PATH + 1> system{};
    return GetVolumeInformationByHandleW(file, nullptr, 0, nullptr, nullptr, nullptr, system.data(),
                                         static_cast<DWORD>(system.size())) != 0 &&
           std::wstring(system.data()) == L"NTFS";
}
} // namespace

QString gFileIdentity(const QString &path)
{
    // With no access but to the attributes, and with all sharing: the file may be in use.
    HANDLE file =
        CreateFileW(QDir::toNativeSeparators(path).toStdWString().c_str(), FILE_READ_ATTRIBUTES,
                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return {};
    }
    BY_HANDLE_FILE_INFORMATION info{};
    const bool isKnown = GetFileInformationByHandle(file, &info) != 0;
    const bool isCounted = gCountsItsFiles(file);
    CloseHandle(file);
    if (!isKnown) {
        return {};
    }
    QString identity = QStringLiteral("%1:%2")
                           .arg(info.dwVolumeSerialNumber)
                           .arg(gJoin(info.nFileIndexHigh, info.nFileIndexLow));
    if (!isCounted) {
        identity += QStringLiteral(":%1").arg(
            gJoin(info.ftCreationTime.dwHighDateTime, info.ftCreationTime.dwLowDateTime));
    }
    return identity;
}
