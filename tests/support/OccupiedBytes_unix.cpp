// SPDX-License-Identifier: MIT

#include "tests/support/OccupiedBytes.h"

#include <QFile>

#include <sys/stat.h>

qint64 gOccupiedBytes(const QString &path)
{
    constexpr qint64 block = 512; // that of st_blocks, on every system
    struct stat info {
    };
    return stat(QFile::encodeName(path).constData(), &info) == 0 ? info.st_blocks * block : -1;
}
