// SPDX-License-Identifier: MIT

#include "platform/FileVersion.h"

#include "platform/PeVersionResource.h"
#include "platform/VersionLine.h"

#include <QFile>

QString FileVersionString(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return QStringLiteral("");
    }
    return gIsPortableExecutable(file) ? gPeFileVersion(file) : gVersionLine(file);
}
