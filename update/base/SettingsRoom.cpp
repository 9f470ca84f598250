// SPDX-License-Identifier: MIT

#include "update/base/SettingsRoom.h"

#include <QByteArray>
#include <QDir>
#include <QFileInfo>
#include <QTemporaryFile>

bool gHasRoomForSettings(const QString &path)
{
    constexpr int more = 65536;

    // As QSettings does it.
    QDir().mkpath(QFileInfo(path).path());
    QTemporaryFile other(path + QStringLiteral(".XXXXXX"));
    const QByteArray bytes(static_cast<int>(QFileInfo(path).size()) + more, ' ');
    return other.open() && other.write(bytes) == bytes.size() && other.flush();
}
