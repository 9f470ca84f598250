// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// A library that is loaded at run time. The destructor unloads it.
///
/// Thread: one thread. Errors: a library or an export that is missing gives null.
class DynamicLibrary
{
public:
    DynamicLibrary() = default;
    ~DynamicLibrary();
    DynamicLibrary(const DynamicLibrary &) = delete;
    DynamicLibrary &operator=(const DynamicLibrary &) = delete;

    /// Loads the library at @p path; a library that is already loaded stays.
    /// @return whether a library is loaded now.
    bool Load(const QString &path);

    /// The exported function @p name, as a pointer of the function type @p Function, or null.
    template<typename Function>
    Function Resolve(const char *name) const
    {
        return reinterpret_cast<Function>(ResolveAddress(name));
    }

private:
    void *ResolveAddress(const char *name) const;

    void *m_handle = nullptr;
};
