// SPDX-License-Identifier: MIT

#include "update/install/PostponedInstaller.h"

#include "api/Log.h"
#include "api/ProductSettings.h"

#include <QFileInfo>
#include <QSettings>
#include <QTemporaryFile>

namespace
{
/// Whether the disk takes another file like the one at @p path, and something more.
bool gHasRoomForAnother(const QString &path)
{
    constexpr int more = 65536;

    QTemporaryFile other(path + QStringLiteral(".XXXXXX"));
    const QByteArray bytes(static_cast<int>(QFileInfo(path).size()) + more, ' ');
    return other.open() && other.write(bytes) == bytes.size() && other.flush();
}
} // namespace

QString gReadSetupFile(QSettings *settings)
{
    settings->sync();
    settings->beginGroup(QLatin1String(ProductSettings::quillonGroup));
    const QString path = settings->value(QLatin1String(ProductSettings::setupFileKey)).toString();
    settings->endGroup();
    return path;
}

void gWriteSetupFile(QSettings *settings, const QString &path)
{
    // QSettings does not check whether its buffer reached the disk: on a full one it replaces the
    // file, in which the host keeps other settings as well, with an empty one.
    if (gHasRoomForAnother(settings->fileName())) {
        settings->beginGroup(QLatin1String(ProductSettings::quillonGroup));
        settings->setValue(QLatin1String(ProductSettings::setupFileKey), path);
        settings->endGroup();
        settings->sync();
        if (settings->status() == QSettings::NoError) {
            return;
        }
    }
    QUILLON_LOG("LiveUpdateMgr", "LiveUpdateMgr::KeepInstaller",
                "disk failure, the settings cannot be written, file path = %s",
                settings->fileName().toStdString().c_str());
}
