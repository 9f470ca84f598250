#include "platform/ProcessLock.h"

#include <QDir>

#include <windows.h>

namespace
{
// Handles and numbers of their size are the same to the system.
// NOLINTBEGIN(cppcoreguidelines-pro-type-reinterpret-cast,performance-no-int-to-ptr)
HANDLE gHandle(qintptr file)
{
    return reinterpret_cast<HANDLE>(file);
}

qintptr gNumber(HANDLE file)
{
    return reinterpret_cast<qintptr>(file);
}
// NOLINTEND(cppcoreguidelines-pro-type-reinterpret-cast,performance-no-int-to-ptr)

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
    Unlock();
    // The lock is on a byte of the file and not on its opening: a virus scanner that looks at the
    // file is no second download.
    HANDLE file = CreateFileW(gNativeName(path).c_str(), GENERIC_READ | GENERIC_WRITE,
                              FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                              OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return Outcome::Unavailable;
    }
    OVERLAPPED place{};
    if (LockFileEx(file, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &place) ==
        0) {
        const DWORD error = GetLastError();
        CloseHandle(file);
        const bool isHeld = error == ERROR_LOCK_VIOLATION || error == ERROR_IO_PENDING;
        return isHeld ? Outcome::HeldByAnother : Outcome::Unavailable;
    }
    m_path = path;
    m_file = gNumber(file);
    return Outcome::Taken;
}

void ProcessLock::Unlock()
{
    if (m_file != closed) {
        DeleteFileW(gNativeName(m_path).c_str());
        CloseHandle(gHandle(m_file));
        m_file = closed;
    }
}
