// SPDX-License-Identifier: MIT

#include "update/plan/KeptInstaller.h"

#include "api/FileDigest.h"
#include "api/Log.h"
#include "platform/FileVersion.h"
#include "update/base/EventSink.h"

#include <QDir>
#include <QFileInfo>

QString gFindKeptInstaller(const QString &folder, const QString &currentVersion,
                           const QString &expectedMd5, EventSink &events)
{
    constexpr char logFile[] = "LiveUpdateMgr";
    constexpr char logFunction[] = "LiveUpdateMgr::UpdateNow";

    const QFileInfoList files =
        QDir(folder).entryInfoList(QDir::Files | QDir::Hidden, QDir::Unsorted);
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
        // A file that cannot be read has an empty MD5: a manifest without one would match it.
        if (!expectedMd5.isEmpty() && md5 == expectedMd5) {
            return path;
        }
        QUILLON_LOG(logFile, logFunction, "Match old version md5 failed");
        events.ReportEvent(EventSink::OldVersionMd5Mismatch);
    }
    return {};
}
