// SPDX-License-Identifier: MIT

#include "tests/support/OccupiedBytes.h"

#include <QDir>

#include <windows.h>

qint64 gOccupiedBytes(const QString &path)
{
    DWORD high = 0;
    const DWORD low =
        GetCompressedFileSizeW(QDir::toNativeSeparators(path).toStdWString().c_str(), &high);
    if (low == INVALID_FILE_SIZE && GetLastError() != NO_ERROR) {
        return -1;
    }
    return (qint64{high} << 32) + low;
}
