// SPDX-License-Identifier: MIT

#include "platform/AtomicRename.h"

#include <QDir>

#include <system_error>

#include <windows.h>

namespace
{
std::wstring gNativeName(const QString &path)
{
    return QDir::toNativeSeparators(path).toStdWString();
}

bool gIsFolder(const std::wstring &name)
{
    const DWORD attributes = GetFileAttributesW(name.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool gIsHeld(DWORD error)
{
    // A file that a scanner has open without sharing its deletion gives the first two; one that was
    // removed while a scanner has it open, or that is mapped into its memory, gives the others.
    return error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION ||
           error == ERROR_ACCESS_DENIED || error == ERROR_DELETE_PENDING ||
           error == ERROR_USER_MAPPED_FILE;
}
} // namespace

RenameResult gRenameOver(const QString &from, const QString &to, QString *failure)
{
    // Without MOVEFILE_COPY_ALLOWED: a copy would not be one step.
    const std::wstring target = gNativeName(to);
    if (MoveFileExW(gNativeName(from).c_str(), target.c_str(),
                    MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0) {
        return RenameResult::Renamed;
    }
    const DWORD error = GetLastError();
    *failure = QString::fromStdString(std::system_category().message(static_cast<int>(error)));
    // A folder gives the error of a held file, for ever.
    return gIsHeld(error) && !gIsFolder(target) ? RenameResult::Busy : RenameResult::Failed;
}
