// SPDX-License-Identifier: MIT

#include "platform/SignStore.h"

#include <array>
#include <optional>

#include <windows.h>

namespace
{
constexpr wchar_t valueName[] = L"ClientSign";

QString gFirstPlace(const QString &company)
{
    return QStringLiteral("Software\\%1\\%1 Tessel Pack\\").arg(company);
}

QString gSecondPlace(const QString &company)
{
    return QStringLiteral("Software\\%1\\TPX\\").arg(company);
}

/// The access flag that gives a 32-bit process on 64-bit Windows the keys of 32-bit programs; 0 in
/// any other process.
REGSAM gRegistryViewFlag()
{
    using IsWow64Function = BOOL(WINAPI *)(HANDLE, PBOOL);

    // Looked up at run time, because a 32-bit Windows does not have the function.
    const auto isWow64Process = reinterpret_cast<IsWow64Function>(
        reinterpret_cast<void *>(GetProcAddress(GetModuleHandleW(L"kernel32"), "IsWow64Process")));
    BOOL isWow64 = FALSE;
    if (isWow64Process == nullptr || isWow64Process(GetCurrentProcess(), &isWow64) == FALSE) {
        return 0;
    }
    return isWow64 != FALSE ? KEY_WOW64_32KEY : 0;
}

/// A registry key, opened or created. One that could not be opened has no sign and stores none.
class Key
{
public:
    Key(HKEY root, const QString &path, REGSAM access)
    {
        m_isOpen =
            RegCreateKeyExW(root, path.toStdWString().c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                            access, nullptr, &m_key, nullptr) == ERROR_SUCCESS;
    }
    ~Key()
    {
        if (m_isOpen) {
            RegCloseKey(m_key);
        }
    }
    Key(const Key &) = delete;
    Key &operator=(const Key &) = delete;

    /// The sign in the key; none when it has no such value. An empty value is a sign: it ends the
    /// search.
    std::optional<QString> Sign() const
    {
        // 49 characters and a terminator; for a longer text the system gives an error.
        std::array<wchar_t, 50> buffer{};
        DWORD byteCount = sizeof(buffer);
        if (!m_isOpen || RegQueryValueExW(m_key, valueName, nullptr, nullptr,
                                          reinterpret_cast<BYTE *>(buffer.data()),
                                          &byteCount) != ERROR_SUCCESS) {
            return std::nullopt;
        }
        buffer.back() = L'\0';
        return QString::fromWCharArray(buffer.data());
    }

    void SetSign(const QString &sign) const
    {
        if (m_isOpen) {
            // The maker's programs store no terminator. The system stores one, too, when it finds
            // one right behind the text; hence the dot there. Held by tst_SignStore_win.
            const std::wstring text = sign.toStdWString() + L'.';
            RegSetValueExW(m_key, valueName, 0, REG_SZ, reinterpret_cast<const BYTE *>(text.data()),
                           static_cast<DWORD>((text.size() - 1) * sizeof(wchar_t)));
        }
    }

private:
    HKEY m_key = nullptr;
    bool m_isOpen = false;
};
} // namespace

QString gReadStoredSign(const QString &company)
{
    const auto ofUser = Key(HKEY_CURRENT_USER, gFirstPlace(company), KEY_READ).Sign();
    if (ofUser.has_value()) {
        return *ofUser;
    }
    for (const QString &place : {gFirstPlace(company), gSecondPlace(company)}) {
        const Key key(HKEY_LOCAL_MACHINE, place, KEY_READ | gRegistryViewFlag());
        if (const auto sign = key.Sign(); sign.has_value()) {
            return *sign;
        }
    }
    return {};
}

void gStoreSign(const QString &company, const QString &sign)
{
    for (const QString &place : {gFirstPlace(company), gSecondPlace(company)}) {
        Key(HKEY_LOCAL_MACHINE, place, KEY_WRITE | gRegistryViewFlag()).SetSign(sign);
    }
}
