// SPDX-License-Identifier: MIT

#include "platform/StayLoaded.h"

#include <windows.h>

void gStayLoaded()
{
    HMODULE self = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       reinterpret_cast<LPCWSTR>(gStayLoaded), &self);
}
