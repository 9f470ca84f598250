// SPDX-License-Identifier: MIT

#include "tests/support/LoadedLibrary.h"

#include <QFile>

#include <dlfcn.h>

bool gIsInProcess(const QString &path)
{
    void *handle = dlopen(QFile::encodeName(path).constData(), RTLD_LAZY | RTLD_NOLOAD);
    if (handle) {
        dlclose(handle);
    }
    return handle;
}
