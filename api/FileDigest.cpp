// SPDX-License-Identifier: MIT

#include "api/FileDigest.h"

#include <QCryptographicHash>
#include <QDebug>
#include <QFile>
#include <QRegularExpression>

#include <array>

QString FileMd5Hex(QString path)
{
    constexpr int chunkSize = 4096;

    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        qDebug("file open error.");
        return QStringLiteral("");
    }
    QCryptographicHash hash(QCryptographicHash::Md5);
    // A file that grows meanwhile is hashed up to the size that it had when it was opened.
    qint64 remaining = file.size();
    std::array<char, chunkSize> chunk{};
    while (remaining > 0) {
        const qint64 size = file.read(chunk.data(), qMin<qint64>(remaining, chunkSize));
        if (size <= 0) {
            break;
        }
        hash.addData(chunk.data(), static_cast<int>(size));
        remaining -= size;
    }
    return QString::fromLatin1(hash.result().toHex());
}

bool gIsMd5(const QString &text)
{
    static const QRegularExpression md5(QStringLiteral("\\A[0-9A-Fa-f]{32}\\z"));
    return md5.match(text).hasMatch();
}
