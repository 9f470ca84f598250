// SPDX-License-Identifier: MIT

#include "tests/support/TestFiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

QByteArray gReadFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool gWriteFile(const QString &path, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.flush();
}

QString gPutFile(const QString &path, const QByteArray &bytes)
{
    if (!gWriteFile(path, bytes)) {
        qFatal("%s cannot be written.", qUtf8Printable(path));
    }
    return path;
}
