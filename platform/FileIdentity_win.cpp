// SPDX-License-Identifier: MIT

#include "platform/FileIdentity.h"

#include <QDir>

#include <windows.h>

namespace
{
quint64 gJoin(DWORD high, DWORD low)
{
    constexpr int lowBits = 32;

    return (quint64{high} << lowBits) | low;
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
    CloseHandle(file);
    if (!isKnown) {
        return {};
    }
    return QStringLiteral("%1:%2:%3")
        .arg(info.dwVolumeSerialNumber)
        .arg(gJoin(info.nFileIndexHigh, info.nFileIndexLow))
        .arg(gJoin(info.ftCreationTime.dwHighDateTime, info.ftCreationTime.dwLowDateTime));
}
