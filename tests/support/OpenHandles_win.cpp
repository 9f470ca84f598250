// SPDX-License-Identifier: MIT

#include "tests/support/OpenHandles.h"

#include <windows.h>

int gOpenHandles()
{
    DWORD count = 0;
    GetProcessHandleCount(GetCurrentProcess(), &count);
    return static_cast<int>(count);
}
