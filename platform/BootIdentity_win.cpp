// SPDX-License-Identifier: MIT

#include "platform/BootIdentity.h"

#include <windows.h>

#include <winternl.h>

#include <cstring>

namespace
{
/// The first fields of the system's time-of-day information. The boot time alone changes when the
/// clock is set; the bias changes by as much, so their difference stays.
struct TimeOfDay {
    LARGE_INTEGER bootTime;
    LARGE_INTEGER currentTime;
    LARGE_INTEGER timeZoneBias;
    ULONG timeZoneId;
    ULONG reserved;
    ULONGLONG bootTimeBias;
    ULONGLONG sleepTimeBias;
};

using Query = NTSTATUS(NTAPI *)(SYSTEM_INFORMATION_CLASS, PVOID, ULONG, PULONG);

Query gQueryFunction()
{
    const HMODULE library = GetModuleHandleW(L"ntdll.dll");
    Query query = nullptr;
    if (library != nullptr) {
        const FARPROC address = GetProcAddress(library, "NtQuerySystemInformation");
        static_assert(sizeof query == sizeof address);
        std::memcpy(&query, &address, sizeof query);
    }
    return query;
}

/// The system's count of its starts; 0 where it keeps none. After a clock was set back, two starts
/// can have the same time, but not the same count.
DWORD gBootCount()
{
    DWORD count = 0;
    DWORD size = sizeof count;
    const LSTATUS status = RegGetValueW(HKEY_LOCAL_MACHINE,
                                        L"SYSTEM\\CurrentControlSet\\Control\\Session Manager\\"
                                        L"Memory Management\\PrefetchParameters",
                                        L"BootId", RRF_RT_REG_DWORD, nullptr, &count, &size);
    return status == ERROR_SUCCESS ? count : 0;
}
} // namespace

QString gBootIdentity()
{
    const Query query = gQueryFunction();
    TimeOfDay times{};
    ULONG length = 0;
    if (query == nullptr || query(SystemTimeOfDayInformation, &times, sizeof times, &length) < 0 ||
        length < sizeof times) {
        return {};
    }
    const auto bootTime = static_cast<ULONGLONG>(times.bootTime.QuadPart) - times.bootTimeBias;
    return QStringLiteral("%1-%2").arg(bootTime).arg(gBootCount());
}
