// SPDX-License-Identifier: MIT

#include "platform/StableStorage.h"

#include <QDir>

#include <windows.h>

FlushResult gFlushToDisk(const QString &path)
{
    const std::wstring name = QDir::toNativeSeparators(path).toStdWString();
    // With all sharing: meanwhile the download writes to the file and may move it.
    HANDLE file = CreateFileW(name.c_str(), GENERIC_WRITE,
                              FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                              OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return FlushResult::Unknown;
    }
    const bool isFlushed = FlushFileBuffers(file) != 0;
    const DWORD error = isFlushed ? ERROR_SUCCESS : GetLastError();
    CloseHandle(file);
    if (isFlushed) {
        return FlushResult::Flushed;
    }
    const bool isUnsupported = error == ERROR_INVALID_FUNCTION || error == ERROR_NOT_SUPPORTED;
    return isUnsupported ? FlushResult::Unknown : FlushResult::Failed;
}

void gFlushFolder(const QString & /*folder*/)
{
    // NTFS journals the changes of names in their order; nothing has to be flushed.
}
