// SPDX-License-Identifier: MIT

#include "platform/ProcessLock.h"

#include <QDir>

#include <windows.h>

namespace
{
// A handle of the system is a number of the size of a pointer.
// NOLINTBEGIN(cppcoreguidelines-pro-type-reinterpret-cast,performance-no-int-to-ptr)
HANDLE gHandleOf(qintptr file)
{
    return reinterpret_cast<HANDLE>(file);
}

qintptr gNumberOf(HANDLE file)
{
    return reinterpret_cast<qintptr>(file);
}
// NOLINTEND(cppcoreguidelines-pro-type-reinterpret-cast,performance-no-int-to-ptr)

/// Whether the open @p file was removed by its last holder before it was locked here.
bool gIsRemoved(HANDLE file)
{
    FILE_STANDARD_INFO info{};
    return GetFileInformationByHandleEx(file, FileStandardInfo, &info, sizeof info) != 0 &&
           (info.DeletePending != FALSE || info.NumberOfLinks == 0);
}

std::wstring gNativeName(const QString &path)
{
    return QDir::toNativeSeparators(path).toStdWString();
}
} // namespace

ProcessLock::~ProcessLock()
{
    Unlock();
}

ProcessLock::Outcome ProcessLock::TryLock(const QString &path)
{
    constexpr int attempts = 16;

    Unlock();
    Outcome outcome = Outcome::Unavailable;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        // The lock is on a byte of the file, and the file is opened with all sharing: a virus
        // scanner that has the file open does not count as a holder.
        HANDLE file = CreateFileW(gNativeName(path).c_str(), GENERIC_READ | GENERIC_WRITE,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                  OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
        if (file == INVALID_HANDLE_VALUE) {
            if (GetLastError() != ERROR_ACCESS_DENIED) {
                return Outcome::Unavailable;
            }
            Sleep(1); // A removed file that a process still has open gives the same error.
            continue;
        }
        OVERLAPPED place{};
        if (LockFileEx(file, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0,
                       &place) == 0) {
            const DWORD error = GetLastError();
            CloseHandle(file);
            const bool isHeld = error == ERROR_LOCK_VIOLATION || error == ERROR_IO_PENDING;
            return isHeld ? Outcome::HeldByAnother : Outcome::Unavailable;
        }
        if (!gIsRemoved(file)) {
            m_path = path;
            m_file = gNumberOf(file);
            return Outcome::Taken;
        }
        CloseHandle(file);
        outcome = Outcome::HeldByAnother;
    }
    return outcome;
}

void ProcessLock::Unlock()
{
    if (m_file != closed) {
        DeleteFileW(gNativeName(m_path).c_str());
        CloseHandle(gHandleOf(m_file));
        m_file = closed;
    }
}
