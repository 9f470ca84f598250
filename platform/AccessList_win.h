// SPDX-License-Identifier: MIT

#pragma once

#include <string>

#include <windows.h>

/// What the accounts of this machine may do with a folder.

/// What no other account may be able to do.
enum class FolderChange {
    /// Anything with the folder, or with what is made in it.
    Any,
    /// Rename, remove or replace the folder, or what lies in it. Others may make folders there.
    Names,
    /// The same with the folder of a volume, which cannot be renamed or removed itself.
    NamesOfVolume
};

/// Whether only @p user can do it, the administrators and the system itself apart: they can do
/// everything. Entries that forbid something count for nothing, those of an unknown kind for all.
/// @param folder the folder's owner and access list; without a list everybody may do everything
bool gIsKeptFrom(FolderChange change, PSECURITY_DESCRIPTOR folder, PSID user);

/// The account's number as "S-1-5-…"; empty when it is none.
std::wstring gAccountText(PSID account);
