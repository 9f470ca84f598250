// SPDX-License-Identifier: MIT

#include "platform/InstallerStart_win.h"

#include <QDir>
#include <QFileInfo>

#include <windows.h>

#include <shellapi.h>

namespace
{
// ERROR_ELEVATION_REQUIRED, which not every version of the Windows headers has.
constexpr InstallerStart::Code elevationRequired = 740;

std::wstring gNativePath(const QString &path)
{
    return QDir::toNativeSeparators(path).toStdWString();
}

/// The folder to run the program in: the program's own. Windows removes no folder that a process
/// runs in, and the installer may have to replace the host's folder.
std::wstring gWorkingFolder(const QString &path)
{
    return gNativePath(QFileInfo(path).absolutePath());
}

InstallerStart::Code gCreateDetached(const QString &path)
{
    const std::wstring program = gNativePath(path);
    std::wstring commandLine = L'"' + program + L'"';
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process{};
    constexpr BOOL inheritHandles = FALSE;
    // Detached from the console, too: the installer must not keep the host's output open.
    if (CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, inheritHandles,
                       DETACHED_PROCESS, nullptr, gWorkingFolder(path).c_str(), &startup,
                       &process) == FALSE) {
        return GetLastError();
    }
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return ERROR_SUCCESS;
}

InstallerStart::Code gStartElevated(const QString &path)
{
    const std::wstring program = gNativePath(path);
    const std::wstring folder = gWorkingFolder(path);
    SHELLEXECUTEINFOW start{};
    start.cbSize = sizeof(start);
    // NOASYNC: the caller may end right after this, so everything has to be done when the call
    // returns. NO_UI: a failure is in the result and not in a message box of the shell.
    start.fMask = SEE_MASK_NOASYNC | SEE_MASK_FLAG_NO_UI;
    // Without the active window as its owner, the question may only blink in the task bar.
    start.hwnd = GetActiveWindow();
    start.lpVerb = L"runas";
    start.lpFile = program.c_str();
    start.lpDirectory = folder.c_str();
    start.nShow = SW_SHOWNORMAL;
    return ShellExecuteExW(&start) == FALSE ? GetLastError() : ERROR_SUCCESS;
}
} // namespace

InstallerStart InstallerStart::OfTheSystem()
{
    return {&gCreateDetached, &gStartElevated, [] { Sleep(pauseMilliseconds); }};
}

InstallerStart::Code InstallerStart::Run(const QString &path) const
{
    Code code = create(path);
    for (int pauses = 0; code == ERROR_SHARING_VIOLATION && pauses < mostPauses; ++pauses) {
        pause();
        code = create(path);
    }
    if (code == elevationRequired) {
        code = elevate(path);
    }
    return code;
}
