// SPDX-License-Identifier: MIT

#include "update/plan/KeptInstaller.h"

#include "api/FileDigest.h"
#include "api/Log.h"
#include "api/ProductSettings.h"
#include "platform/FileVersion.h"
#include "update/UpdateCommon/UpdateEventReport.h"

#include <QDir>
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

QString gFindKeptInstaller(const QString &folder, const QString &currentVersion,
                           const QString &expectedMd5)
{
    constexpr char logFile[] = "LiveUpdateMgr";
    constexpr char logFunction[] = "LiveUpdateMgr::UpdateNow";

    const QFileInfoList files = QDir(folder).entryInfoList(QDir::Files, QDir::Unsorted);
    for (const QFileInfo &file : files) {
        const QString path = file.absoluteFilePath();
        const QString version = FileVersionString(path);
        QUILLON_LOG(logFile, logFunction, "packVersion %s;currentVersion = %s",
                    version.toStdString().c_str(), currentVersion.toStdString().c_str());
        if (version.trimmed() != currentVersion.trimmed()) {
            continue;
        }
        const QString md5 = FileMd5Hex(path);
        QUILLON_LOG(logFile, logFunction,
                    "local oldpackage md5:%s; update response oldpackage md5:%s",
                    md5.toStdString().c_str(), expectedMd5.toStdString().c_str());
        if (md5 == expectedMd5) {
            return path;
        }
        QUILLON_LOG(logFile, logFunction, "Match old version md5 failed");
        UpdateEventReport::GetInstance()->ReportEvent(UpdateEventReport::OldVersionMd5Mismatch);
    }
    return {};
}

void gRememberInstaller(QSettings *settings, const QString &path)
{
    // The settings class does not look at whether its buffer reaches the disk: on a full one it puts an empty
    // file in the place of the old one, in which the host keeps more than this.
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
