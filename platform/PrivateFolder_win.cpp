// SPDX-License-Identifier: MIT

#include "platform/PrivateFolder.h"

#include <QDir>
#include <QFileInfo>

#include <array>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include <windows.h>

#include <aclapi.h>
#include <sddl.h>
#include <shlobj.h>

namespace
{
struct LocalMemory {
    void operator()(void *memory) const { LocalFree(memory); }
};
template<typename Pointer>
using Local = std::unique_ptr<std::remove_pointer_t<Pointer>, LocalMemory>;

std::wstring gNativeName(const QString &path)
{
    return QDir::toNativeSeparators(path).toStdWString();
}

QString gSystemText(DWORD error)
{
    return qt_error_string(static_cast<int>(error));
}

/// The account that this process runs under, as a token of the system holds it.
std::vector<BYTE> gThisUser()
{
    HANDLE token = nullptr;
    if (OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token) == FALSE) {
        return {};
    }
    DWORD size = 0;
    GetTokenInformation(token, TokenUser, nullptr, 0, &size);
    std::vector<BYTE> user(size);
    const BOOL isKnown =
        size == 0 ? FALSE : GetTokenInformation(token, TokenUser, user.data(), size, &size);
    CloseHandle(token);
    return isKnown == FALSE ? std::vector<BYTE>() : user;
}

PSID gSid(std::vector<BYTE> &user)
{
    return reinterpret_cast<TOKEN_USER *>(user.data())->User.Sid;
}

bool gIsOneOf(PSID account, PSID user)
{
    return EqualSid(account, user) != FALSE ||
           IsWellKnownSid(account, WinLocalSystemSid) != FALSE ||
           IsWellKnownSid(account, WinBuiltinAdministratorsSid) != FALSE;
}

/// Whether an entry lets somebody else change the folder.
bool gLetsOthersWrite(const ACE_HEADER &header, void *entry, PSID user)
{
    constexpr DWORD writing = FILE_WRITE_DATA | FILE_APPEND_DATA | FILE_WRITE_EA |
                              FILE_WRITE_ATTRIBUTES | FILE_DELETE_CHILD | DELETE | WRITE_DAC |
                              WRITE_OWNER | GENERIC_WRITE | GENERIC_ALL;

    if (header.AceType == ACCESS_DENIED_ACE_TYPE) {
        return false;
    }
    if (header.AceType != ACCESS_ALLOWED_ACE_TYPE) {
        return true; // Of a kind that is not known here.
    }
    const auto *allowed = static_cast<ACCESS_ALLOWED_ACE *>(entry);
    PSID account = const_cast<DWORD *>(&allowed->SidStart);
    // What is made in the folder gets the entry of its maker, and only those who may write make something.
    const bool isForMakers = IsWellKnownSid(account, WinCreatorOwnerSid) != FALSE ||
                             IsWellKnownSid(account, WinCreatorGroupSid) != FALSE;
    return (allowed->Mask & writing) != 0 && !isForMakers && !gIsOneOf(account, user);
}

bool gLetsOnlyWrite(PACL list, PSID user)
{
    if (list == nullptr) {
        return false; // Without a list everybody may do everything.
    }
    for (DWORD index = 0; index < list->AceCount; ++index) {
        void *entry = nullptr;
        if (GetAce(list, index, &entry) == FALSE ||
            gLetsOthersWrite(*static_cast<ACE_HEADER *>(entry), entry, user)) {
            return false;
        }
    }
    return true;
}

/// Who may do everything in a folder of this user, whatever the folder above lets its accounts do.
Local<PSECURITY_DESCRIPTOR> gDescriptor()
{
    std::vector<BYTE> user = gThisUser();
    wchar_t *name = nullptr;
    if (user.empty() || ConvertSidToStringSidW(gSid(user), &name) == FALSE) {
        return nullptr;
    }
    const Local<wchar_t *> held(name);
    const std::wstring rules =
        std::wstring(L"D:P(A;OICI;FA;;;") + name + L")(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)";
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    ConvertStringSecurityDescriptorToSecurityDescriptorW(rules.c_str(), SDDL_REVISION_1,
                                                         &descriptor, nullptr);
    return Local<PSECURITY_DESCRIPTOR>(descriptor);
}
} // namespace

QString gPrivateFolder(QString *failure)
{
    std::array<wchar_t, MAX_PATH> folder{};
    const HRESULT result = SHGetFolderPathW(nullptr, CSIDL_LOCAL_APPDATA | CSIDL_FLAG_CREATE,
                                            nullptr, SHGFP_TYPE_CURRENT, folder.data());
    if (FAILED(result)) {
        *failure = QStringLiteral("there is no folder for local data");
        return {};
    }
    const QString path = QDir::fromNativeSeparators(QString::fromWCharArray(folder.data())) +
                         QStringLiteral("/Halvard");
    if (!QFileInfo::exists(path) && !gMakePrivateFolder(path, failure) &&
        !QFileInfo::exists(path)) {
        return {};
    }
    return gIsPrivateFolder(path, failure) ? path : QString();
}

bool gMakePrivateFolder(const QString &path, QString *failure)
{
    const Local<PSECURITY_DESCRIPTOR> descriptor = gDescriptor();
    SECURITY_ATTRIBUTES security{sizeof(SECURITY_ATTRIBUTES), descriptor.get(), FALSE};
    if (descriptor == nullptr || CreateDirectoryW(gNativeName(path).c_str(), &security) == FALSE) {
        *failure = path + QStringLiteral(": ") + gSystemText(GetLastError());
        return false;
    }
    return true;
}

bool gIsPrivateFolder(const QString &path, QString *failure)
{
    const std::wstring name = gNativeName(path);
    const DWORD attributes = GetFileAttributesW(name.c_str());
    const bool isFolder = attributes != INVALID_FILE_ATTRIBUTES &&
                          (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 &&
                          (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0;
    std::vector<BYTE> user = gThisUser();
    PSID owner = nullptr;
    PACL list = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    const DWORD error = GetNamedSecurityInfoW(
        name.c_str(), SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION,
        &owner, nullptr, &list, nullptr, &descriptor);
    const Local<PSECURITY_DESCRIPTOR> held(descriptor);
    if (!isFolder || user.empty() || error != ERROR_SUCCESS) {
        *failure = QStringLiteral("it is unknown who can change %1").arg(path);
        return false;
    }
    if (owner == nullptr || !gIsOneOf(owner, gSid(user)) || !gLetsOnlyWrite(list, gSid(user))) {
        *failure = QStringLiteral("another account can change %1").arg(path);
        return false;
    }
    return true;
}
