// SPDX-License-Identifier: MIT

#include "platform/RegularFile.h"

#include <QFile>
#include <QFileInfo>

bool gOpenRegularFile(QFile *file)
{
    // Pipes have a folder of their own.
    return QFileInfo(file->fileName()).isFile() &&
           file->open(QIODevice::ReadOnly | QIODevice::Unbuffered);
}
