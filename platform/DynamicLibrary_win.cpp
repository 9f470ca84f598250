// SPDX-License-Identifier: MIT

#include "platform/DynamicLibrary.h"

#include <QDir>

#include <windows.h>

namespace
{
/// Keeps the system from showing a box of its own about a damaged library, as long as it lives.
class NoSystemBoxes
{
public:
    NoSystemBoxes() { SetThreadErrorMode(SEM_FAILCRITICALERRORS, &m_former); }
    ~NoSystemBoxes() { SetThreadErrorMode(m_former, nullptr); }
    NoSystemBoxes(const NoSystemBoxes &) = delete;
    NoSystemBoxes &operator=(const NoSystemBoxes &) = delete;

private:
    DWORD m_former = 0;
};
} // namespace

DynamicLibrary::~DynamicLibrary()
{
    if (m_handle != nullptr) {
        FreeLibrary(static_cast<HMODULE>(m_handle));
    }
}

bool DynamicLibrary::Load(const QString &path)
{
    if (m_handle == nullptr) {
        const NoSystemBoxes noBoxes;
        m_handle = LoadLibraryW(QDir::toNativeSeparators(path).toStdWString().c_str());
    }
    return m_handle != nullptr;
}

void *DynamicLibrary::ResolveAddress(const char *name) const
{
    if (m_handle == nullptr) {
        return nullptr;
    }
    return reinterpret_cast<void *>(GetProcAddress(static_cast<HMODULE>(m_handle), name));
}
