// SPDX-License-Identifier: MIT

#include "platform/PrivateFolder.h"

#include "platform/AccessList_win.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include <windows.h>

#include <aclapi.h>
#include <sddl.h>

namespace
{
struct LocalMemory {
    void operator()(void *memory) const { LocalFree(memory); }
};
template<typename Pointer>
using Local = std::unique_ptr<std::remove_pointer_t<Pointer>, LocalMemory>;

struct OpenHandle {
    void operator()(void *handle) const { CloseHandle(handle); }
};
using Handle = std::unique_ptr<void, OpenHandle>;

/// In the form that is not limited to 260 characters, if there is one.
std::wstring gNativeName(const QString &path)
{
    const QString name = QDir::toNativeSeparators(QDir::cleanPath(path));
    const bool hasDrive = QDir::isAbsolutePath(path) && !name.startsWith(QLatin1Char('\\'));
    return (hasDrive ? QStringLiteral("\\\\?\\") + name : name).toStdWString();
}

QString gSystemText(DWORD error)
{
    return qt_error_string(static_cast<int>(error));
}

/// The error of a call that failed, also when the system does not name it.
DWORD gLastError()
{
    const DWORD error = GetLastError();
    return error == ERROR_SUCCESS ? ERROR_GEN_FAILURE : error;
}

/// The account that this process runs under, as a token of the system holds it. Empty, with
/// @p failure, when the system does not say.
std::vector<BYTE> gThisUser(QString *failure)
{
    HANDLE opened = nullptr;
    std::vector<BYTE> user;
    if (OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &opened) != FALSE) {
        const Handle token(opened);
        DWORD size = sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE;
        user.resize(size);
        if (GetTokenInformation(token.get(), TokenUser, user.data(), size, &size) != FALSE) {
            return user;
        }
    }
    *failure = QStringLiteral("the account of this user is unknown: ") + gSystemText(gLastError());
    return {};
}

PSID gSid(std::vector<BYTE> &user)
{
    return reinterpret_cast<TOKEN_USER *>(user.data())->User.Sid;
}

/// Opens a folder to ask who may do what. A link in its place is refused, and so is a folder on a
/// volume that has no access lists.
/// @return the system's error
DWORD gOpenFolder(const QString &path, Handle *folder)
{
    HANDLE opened =
        CreateFileW(gNativeName(path).c_str(), READ_CONTROL | FILE_READ_ATTRIBUTES,
                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                    FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
    if (opened == INVALID_HANDLE_VALUE) {
        return gLastError();
    }
    folder->reset(opened);
    BY_HANDLE_FILE_INFORMATION info{};
    DWORD volume = 0;
    if (GetFileInformationByHandle(opened, &info) == FALSE ||
        GetVolumeInformationByHandleW(opened, nullptr, 0, nullptr, nullptr, &volume, nullptr, 0) ==
            FALSE) {
        return gLastError();
    }
    const bool isFolder = (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 &&
                          (info.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0;
    if (!isFolder) {
        return ERROR_DIRECTORY;
    }
    return (volume & FILE_PERSISTENT_ACLS) == 0 ? ERROR_NOT_SUPPORTED : ERROR_SUCCESS;
}

/// Whether nobody else can do it to the folder.
bool gIsKept(const QString &path, FolderChange change, QString *failure)
{
    Handle folder;
    DWORD error = gOpenFolder(path, &folder);
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    if (error == ERROR_SUCCESS) {
        error = GetSecurityInfo(folder.get(), SE_FILE_OBJECT,
                                OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION, nullptr,
                                nullptr, nullptr, nullptr, &descriptor);
    }
    const Local<PSECURITY_DESCRIPTOR> held(descriptor);
    if (error != ERROR_SUCCESS) {
        *failure =
            QStringLiteral("it is unknown who can change %1: %2").arg(path, gSystemText(error));
        return false;
    }
    std::vector<BYTE> user = gThisUser(failure);
    if (user.empty()) {
        return false;
    }
    if (!gIsKeptFrom(change, descriptor, gSid(user))) {
        *failure = QStringLiteral("another account can change %1").arg(path);
        return false;
    }
    return true;
}

/// Who may do everything in a folder of this user, whatever the folder above lets its accounts do.
Local<PSECURITY_DESCRIPTOR> gDescriptor(QString *failure)
{
    std::vector<BYTE> user = gThisUser(failure);
    if (user.empty()) {
        return nullptr;
    }
    const std::wstring name = gAccountText(gSid(user));
    const std::wstring rules = L"D:P(A;OICI;FA;;;" + name + L")(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)";
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    if (ConvertStringSecurityDescriptorToSecurityDescriptorW(rules.c_str(), SDDL_REVISION_1,
                                                             &descriptor, nullptr) == FALSE) {
        *failure = QStringLiteral("no access list can be made: ") + gSystemText(gLastError());
    }
    return Local<PSECURITY_DESCRIPTOR>(descriptor);
}
} // namespace

QString gPrivateFolder(QString *failure)
{
    const QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    const bool isThere = !data.isEmpty() && QDir().mkpath(data);
    // Without links, so that the folders above are the ones that are looked at.
    const QString above = isThere ? QFileInfo(data).canonicalFilePath() : QString();
    if (above.isEmpty()) {
        *failure = QStringLiteral("there is no folder for local data");
        return {};
    }
    const QString path = above + QStringLiteral("/Halvard");
    if (!QFileInfo::exists(path) && !gMakePrivateFolder(path, failure) &&
        !QFileInfo::exists(path)) {
        return {};
    }
    return gIsPrivateFolder(path, failure) && gIsKeptAbove(path, failure) ? path : QString();
}

bool gMakePrivateFolder(const QString &path, QString *failure)
{
    const Local<PSECURITY_DESCRIPTOR> descriptor = gDescriptor(failure);
    if (descriptor == nullptr) {
        return false;
    }
    SECURITY_ATTRIBUTES security{sizeof(SECURITY_ATTRIBUTES), descriptor.get(), FALSE};
    if (CreateDirectoryW(gNativeName(path).c_str(), &security) == FALSE) {
        const DWORD error = GetLastError();
        *failure = path + QStringLiteral(": ") + gSystemText(error);
        return false;
    }
    return true;
}

bool gIsPrivateFolder(const QString &path, QString *failure)
{
    return gIsKept(path, FolderChange::Any, failure);
}

bool gIsKeptAbove(const QString &path, QString *failure)
{
    QString above = QFileInfo(path).path();
    while (true) {
        const QString next = QFileInfo(above).path();
        const bool isVolume = next == above;
        if (!gIsKept(above, isVolume ? FolderChange::NamesOfVolume : FolderChange::Names,
                     failure)) {
            return false;
        }
        if (isVolume) {
            return true;
        }
        above = next;
    }
}
