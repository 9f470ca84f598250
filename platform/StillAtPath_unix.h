// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>

#include <sys/stat.h>

/// Whether the open @p file is still the one at @p path. Another process may have removed it after it was
/// opened here and before it was locked, and a third one may hold a new file of that name.
inline bool gIsStillAtPath(int file, const QByteArray &path)
{
    struct stat opened {
    };
    struct stat named {
    };
    return fstat(file, &opened) == 0 && stat(path.constData(), &named) == 0 &&
           opened.st_ino == named.st_ino && opened.st_dev == named.st_dev;
}
