// SPDX-License-Identifier: MIT

#include "api/QuillonInit.h"

#include <QFile>
#include <QTextStream>

#include <utility>

namespace
{
QString &gConfigFileDir()
{
    static QString directory;
    return directory;
}
} // namespace

void QuillonInit::SetConfigFileDir(QString directory)
{
    gConfigFileDir() = std::move(directory);
}

QString QuillonInit::GetConfigFileDir()
{
    return gConfigFileDir();
}

QString QuillonInit::gGetStyleSheet(QString path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return QStringLiteral("");
    }
    return QTextStream(&file).readAll();
}
