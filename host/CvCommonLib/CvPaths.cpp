// SPDX-License-Identifier: MIT

#include "CvPaths.h"

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryFile>

namespace
{
QString &gCorvinaDirectory()
{
    static QString directory;
    return directory;
}
} // namespace

bool IsPathWriteable(const QString &path)
{
    if (path.isEmpty()) {
        return false;
    }
    QTemporaryFile probe(QDir(path).filePath(QStringLiteral("CvWriteProbe_XXXXXX")));
    // On Linux Qt opens a temporary file without a name; fileName() gives it one in the directory.
    return probe.open() && !probe.fileName().isEmpty();
}

QString CvGetCorvinaDirectory()
{
    const QString directory = gCorvinaDirectory();
    return directory.isEmpty() ? QCoreApplication::applicationDirPath() : directory;
}

void CvSetCorvinaDirectory(const QString &directory)
{
    gCorvinaDirectory() = directory.isEmpty() ? QString() : QDir::cleanPath(directory);
}
