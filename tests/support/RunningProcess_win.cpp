// SPDX-License-Identifier: MIT

#include "tests/support/RunningProcess.h"

#include <windows.h>

bool gIsRunning(qint64 pid)
{
    HANDLE process = OpenProcess(SYNCHRONIZE, FALSE, static_cast<DWORD>(pid));
    if (process == nullptr) {
        return false;
    }
    const bool runs = WaitForSingleObject(process, 0) == WAIT_TIMEOUT;
    CloseHandle(process);
    return runs;
}
