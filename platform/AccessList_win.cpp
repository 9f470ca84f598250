// SPDX-License-Identifier: MIT

#include "platform/AccessList_win.h"

#include <sddl.h>

namespace
{
struct Rights {
    DWORD mask;
    /// Whether the entries count that are only there to be inherited.
    bool isInherited;
};

Rights gRights(FolderChange change)
{
    constexpr DWORD renaming = DELETE | FILE_DELETE_CHILD | WRITE_DAC | WRITE_OWNER | GENERIC_ALL;
    constexpr DWORD writing =
        FILE_WRITE_DATA | FILE_APPEND_DATA | FILE_WRITE_EA | FILE_WRITE_ATTRIBUTES | GENERIC_WRITE;

    switch (change) {
    case FolderChange::Any:
        return {renaming | writing, true};
    case FolderChange::Names:
        return {renaming, false};
    case FolderChange::NamesOfVolume:
        return {renaming & ~DWORD{DELETE}, false};
    }
    return {MAXDWORD, true};
}

/// Whether the account is the user, or can change everything anyway.
bool gIsTrusted(PSID account, PSID user)
{
    // The installer of Windows, which owns the system's volume and folders.
    const wchar_t *const trustedInstaller =
        L"S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464";

    return EqualSid(account, user) != FALSE ||
           IsWellKnownSid(account, WinLocalSystemSid) != FALSE ||
           IsWellKnownSid(account, WinBuiltinAdministratorsSid) != FALSE ||
           gAccountText(account) == trustedInstaller;
}

/// Whether the account stands for whoever makes something in the folder, which takes the right to
/// write, or for the owner, who is looked at anyway. The maker's group is none: others are in it.
bool gIsOwnerToBe(PSID account)
{
    return IsWellKnownSid(account, WinCreatorOwnerSid) != FALSE ||
           IsWellKnownSid(account, WinCreatorOwnerRightsSid) != FALSE;
}

/// Whether an entry gives one of the rights to somebody else.
bool gLetsOthers(void *entry, const Rights &rights, PSID user)
{
    const ACE_HEADER &header = *static_cast<ACE_HEADER *>(entry);
    const bool isForContents = (header.AceFlags & INHERIT_ONLY_ACE) != 0;
    if (header.AceType == ACCESS_DENIED_ACE_TYPE || (isForContents && !rights.isInherited)) {
        return false;
    }
    if (header.AceType != ACCESS_ALLOWED_ACE_TYPE) {
        return true;
    }
    auto *const allowed = static_cast<ACCESS_ALLOWED_ACE *>(entry);
    PSID account = &allowed->SidStart;
    return (allowed->Mask & rights.mask) != 0 && !gIsOwnerToBe(account) &&
           !gIsTrusted(account, user);
}
} // namespace

bool gIsKeptFrom(FolderChange change, PSECURITY_DESCRIPTOR folder, PSID user)
{
    PSID owner = nullptr;
    PACL list = nullptr;
    BOOL hasList = FALSE;
    BOOL isDefault = FALSE;
    if (GetSecurityDescriptorOwner(folder, &owner, &isDefault) == FALSE || owner == nullptr ||
        !gIsTrusted(owner, user)) {
        return false;
    }
    if (GetSecurityDescriptorDacl(folder, &hasList, &list, &isDefault) == FALSE ||
        hasList == FALSE || list == nullptr) {
        return false;
    }
    const Rights rights = gRights(change);
    for (DWORD index = 0; index < list->AceCount; ++index) {
        void *entry = nullptr;
        if (GetAce(list, index, &entry) == FALSE || gLetsOthers(entry, rights, user)) {
            return false;
        }
    }
    return true;
}

std::wstring gAccountText(PSID account)
{
    wchar_t *text = nullptr;
    if (ConvertSidToStringSidW(account, &text) == FALSE) {
        return {};
    }
    std::wstring copy(text);
    LocalFree(text);
    return copy;
}
