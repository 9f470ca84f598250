// SPDX-License-Identifier: MIT

#include "platform/VersionLine.h"

#include <QIODevice>
#include <QRegularExpression>

QString gVersionLine(QIODevice &device)
{
    constexpr qint64 searchedBytes = 4096;
    static const QRegularExpression line(
        QStringLiteral("^[ \\t]*(?:#|//)?[ \\t]*FileVersion=([^\\r\\n]*)\\r?$"),
        QRegularExpression::MultilineOption);

    device.seek(0);
    return line.match(QString::fromUtf8(device.read(searchedBytes))).captured(1).trimmed();
}
