// SPDX-License-Identifier: MIT

#include "tests/support/SystemPlaces.h"

#include <QCoreApplication>
#include <QDir>

#include <array>
#include <string>

#include <windows.h>

namespace
{
/// A key of the user that stands in for all settings, in this process only.
std::wstring gStandIn()
{
    return QStringLiteral("Software\\Quillon test %1")
        .arg(QCoreApplication::applicationPid())
        .toStdWString();
}

HKEY gCreate(HKEY root, const std::wstring &path, DWORD options = REG_OPTION_NON_VOLATILE)
{
    HKEY key = nullptr;
    if (RegCreateKeyExW(root, path.c_str(), 0, nullptr, options, KEY_ALL_ACCESS, nullptr, &key,
                        nullptr) != ERROR_SUCCESS) {
        qFatal("The test cannot write to the registry.");
    }
    return key;
}

HKEY gRoot(SystemPlaces::Owner owner)
{
    return owner == SystemPlaces::Owner::User ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE;
}

std::wstring gSoftware(const QString &place)
{
    return L"Software\\" + QDir::toNativeSeparators(place).toStdWString();
}
} // namespace

SystemPlaces::SystemPlaces(const QString &folder)
{
    HKEY machine = gCreate(HKEY_CURRENT_USER, gStandIn() + L"\\machine");
    HKEY user = gCreate(HKEY_CURRENT_USER, gStandIn() + L"\\user");
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, machine);
    RegOverridePredefKey(HKEY_CURRENT_USER, user);
    RegCloseKey(machine);
    RegCloseKey(user);
    PutDocuments(folder + QStringLiteral("/data"));
}

SystemPlaces::~SystemPlaces()
{
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
    RegDeleteTreeW(HKEY_CURRENT_USER, gStandIn().c_str());
}

void SystemPlaces::PutDocuments(const QString &folder)
{
    HKEY folders =
        gCreate(HKEY_LOCAL_MACHINE,
                L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders");
    const std::wstring place = QDir::toNativeSeparators(folder).toStdWString();
    RegSetValueExW(folders, L"Common Documents", 0, REG_SZ,
                   reinterpret_cast<const BYTE *>(place.c_str()),
                   static_cast<DWORD>((place.size() + 1) * sizeof(wchar_t)));
    RegCloseKey(folders);
}

QString SystemPlaces::Sign(Owner owner, const QString &place)
{
    std::array<wchar_t, 100> sign{};
    DWORD size = sizeof sign;
    RegGetValueW(gRoot(owner), gSoftware(place).c_str(), L"ClientSign", RRF_RT_REG_SZ, nullptr,
                 sign.data(), &size);
    return QString::fromWCharArray(sign.data());
}

void SystemPlaces::PutSign(Owner owner, const QString &place, const QString &sign)
{
    const std::wstring text = sign.toStdWString();
    if (RegSetKeyValueW(gRoot(owner), gSoftware(place).c_str(), L"ClientSign", REG_SZ, text.c_str(),
                        static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t))) != ERROR_SUCCESS) {
        qFatal("The test cannot write to the registry.");
    }
}

void SystemPlaces::BlockSignsOf(const QString &company)
{
    // A lasting key cannot be created below one that is gone with the next start.
    RegCloseKey(gCreate(HKEY_LOCAL_MACHINE, gSoftware(company), REG_OPTION_VOLATILE));
}
