// SPDX-License-Identifier: MIT

#include "platform/DynamicLibrary.h"

#include <QFile>

#include <dlfcn.h>

DynamicLibrary::~DynamicLibrary()
{
    if (m_handle != nullptr) {
        dlclose(m_handle);
    }
}

bool DynamicLibrary::Load(const QString &path)
{
    if (m_handle == nullptr) {
        m_handle = dlopen(QFile::encodeName(path).constData(), RTLD_NOW | RTLD_LOCAL);
    }
    return m_handle != nullptr;
}

void *DynamicLibrary::ResolveAddress(const char *name) const
{
    return m_handle == nullptr ? nullptr : dlsym(m_handle, name);
}
