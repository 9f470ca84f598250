// SPDX-License-Identifier: MIT

#include "platform/SparseFile.h"

#include <QDir>

// The headers need this order.
// clang-format off
#include <windows.h>
#include <winioctl.h>
// clang-format on

bool gMakeSparse(const QString &path)
{
    const std::wstring name = QDir::toNativeSeparators(path).toStdWString();
    // With all sharing: the caller has the file open for writing.
    HANDLE file = CreateFileW(name.c_str(), GENERIC_WRITE,
                              FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                              OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return false;
    }
    DWORD unused = 0;
    const BOOL isSparse =
        DeviceIoControl(file, FSCTL_SET_SPARSE, nullptr, 0, nullptr, 0, &unused, nullptr);
    CloseHandle(file);
    return isSparse != FALSE;
}
