// SPDX-License-Identifier: MIT

#include "platform/StableStorage.h"

#include <QDir>

#include <windows.h>

FlushResult gFlushToDisk(const QString &path)
{
    const std::wstring name = QDir::toNativeSeparators(path).toStdWString();
    // Sharing everything: the download goes on writing, and may move the file, meanwhile.
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
    // The file system's journal keeps the order of changes of names.
}
