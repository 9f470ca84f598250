#include "tests/platform/DocumentsElsewhere.h"

#include <QCoreApplication>
#include <QDir>

#include <string>

#include <windows.h>

namespace
{
/// A key of the user that stands in for all settings of the machine, in this process only.
std::wstring gStandIn()
{
    return QStringLiteral("Software\\Quillon test %1")
        .arg(QCoreApplication::applicationPid())
        .toStdWString();
}

HKEY gCreate(HKEY root, const std::wstring &path)
{
    HKEY key = nullptr;
    if (RegCreateKeyExW(root, path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS,
                        nullptr, &key, nullptr) != ERROR_SUCCESS) {
        qFatal("The test cannot write to the registry.");
    }
    return key;
}
} // namespace

DocumentsElsewhere::DocumentsElsewhere(const QString &folder)
{
    HKEY const machine = gCreate(HKEY_CURRENT_USER, gStandIn());
    HKEY const folders = gCreate(
        machine, L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders");
    const std::wstring place = QDir::toNativeSeparators(folder).toStdWString();
    RegSetValueExW(folders, L"Common Documents", 0, REG_SZ,
                   reinterpret_cast<const BYTE *>(place.c_str()),
                   static_cast<DWORD>((place.size() + 1) * sizeof(wchar_t)));
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, machine);
    RegCloseKey(folders);
    RegCloseKey(machine);
}

DocumentsElsewhere::~DocumentsElsewhere()
{
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    RegDeleteTreeW(HKEY_CURRENT_USER, gStandIn().c_str());
}
