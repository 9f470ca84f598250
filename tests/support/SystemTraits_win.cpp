// SPDX-License-Identifier: MIT

#include "tests/support/SystemTraits.h"

#include <windows.h>

bool gTellsOfEarlyResets()
{
    return false;
}

bool gRemovesOpenFiles()
{
    return false;
}

bool gHasVersionLines()
{
    return false;
}

bool gMakesSparseFiles()
{
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") == nullptr;
}
