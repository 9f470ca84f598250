// SPDX-License-Identifier: MIT

#include "tests/fuzz/FuzzFolder.h"

#include <QDateTime>
#include <QDir>
#include <QFile>

namespace
{
QString gFolderTemplate()
{
    const QString inMemory = QStringLiteral("/dev/shm");
    return (QDir(inMemory).exists() ? inMemory : QDir::tempPath()) + QStringLiteral("/fuzz-XXXXXX");
}
} // namespace

FuzzFolder::FuzzFolder()
    : m_folder(gFolderTemplate())
{
}

void FuzzFolder::Write(const char *name, const QByteArray &bytes) const
{
    static qint64 version = 0;
    QFile file(m_folder.filePath(QLatin1String(name)));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        file.write(bytes) != bytes.size() || !file.flush() ||
        !file.setFileTime(QDateTime::fromSecsSinceEpoch(++version),
                          QFileDevice::FileModificationTime)) {
        qFatal("The file %s cannot be written.", name);
    }
}

void FuzzFolder::Write(const char *name, const std::uint8_t *data, std::size_t size) const
{
    Write(name,
          QByteArray::fromRawData(reinterpret_cast<const char *>(data), static_cast<int>(size)));
}
