// SPDX-License-Identifier: MIT

#include "tests/support/LoadedLibrary.h"

#include <QDir>

#include <windows.h>

bool gIsInProcess(const QString &path)
{
    return GetModuleHandleW(QDir::toNativeSeparators(path).toStdWString().c_str()) != nullptr;
}
