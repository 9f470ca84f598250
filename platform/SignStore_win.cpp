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

/// The access flag that shows a 32-bit process on 64-bit Windows the keys of 32-bit programs, and
/// nothing for any other process.
REGSAM gViewFlag()
{
    using IsWow64Function = BOOL(WINAPI *)(HANDLE, PBOOL);

    // Looked up, because a Windows that knows 32-bit programs only does not have it.
    const auto isWow64Process = reinterpret_cast<IsWow64Function>(
        reinterpret_cast<void *>(GetProcAddress(GetModuleHandleW(L"kernel32"), "IsWow64Process")));
    BOOL isWow64 = FALSE;
    if (isWow64Process == nullptr || isWow64Process(GetCurrentProcess(), &isWow64) == FALSE) {
        return 0;
    }
    return isWow64 != FALSE ? KEY_WOW64_32KEY : 0;
}

/// A registry key, opened or created; what could not be opened has no values and takes none.
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

    /// Nothing when the key holds no sign; a sign that is there ends the search even when it is
    /// empty.
    std::optional<QString> Sign() const
    {
        // 49 characters and a terminator; a longer text is an error for the system.
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
            // The maker's programs store no terminator. The system would add one that it finds
            // behind the text.
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
        const Key key(HKEY_LOCAL_MACHINE, place, KEY_READ | gViewFlag());
        if (const auto sign = key.Sign(); sign.has_value()) {
            return *sign;
        }
    }
    return {};
}

void gStoreSign(const QString &company, const QString &sign)
{
    for (const QString &place : {gFirstPlace(company), gSecondPlace(company)}) {
        Key(HKEY_LOCAL_MACHINE, place, KEY_WRITE | gViewFlag()).SetSign(sign);
    }
}
