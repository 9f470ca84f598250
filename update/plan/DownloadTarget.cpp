// SPDX-License-Identifier: MIT

#include "update/plan/DownloadTarget.h"

#include "api/Log.h"
#include "update/plan/PackageFolder.h"
#include "update/UpdateCommon/VersionInfo.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace
{
/// Everything behind the last slash of a package's address. A backslash ends a folder's name on some
/// systems, and no manifest has to say in which folder its package lies.
QString gLastComponent(const QString &url)
{
    const int slash =
        std::max(url.lastIndexOf(QLatin1Char('/')), url.lastIndexOf(QLatin1Char('\\')));
    return url.mid(slash + 1);
}
} // namespace

DownloadTarget gDownloadTarget(const VersionInfo &versionInfo, bool incremental)
{
    const QString folder = gPackageFolder() + QLatin1Char('/');
    const QString installerPath = folder + gLastComponent(versionInfo.ExeUrl());
    if (incremental) {
        return {QUrl(versionInfo.IncreaseUrl()), folder + gLastComponent(versionInfo.IncreaseUrl()),
                installerPath, versionInfo.IncreaseMd5()};
    }
    return {QUrl(versionInfo.ExeUrl()), folder + QStringLiteral("Corvina9(x64).tmp"), installerPath,
            QString()};
}

bool gSparesKeptInstaller(const DownloadTarget &target, const QString &kept)
{
    if (QFileInfo(target.path) != QFileInfo(kept)) {
        return true;
    }
    QUILLON_LOG("LiveUpdateMgr", "LiveUpdateMgr::UpdateNow",
                "the incremental package has the name of the kept installer and is not taken");
    return false;
}

void gCreateEmptyFile(const QString &path, qint64 size)
{
    constexpr char file[] = "LiveUpdateMgr";
    constexpr char function[] = "LiveUpdateMgr::CreateEmptyFile";

    QFile target(path);
    if (!target.open(QIODevice::WriteOnly | QIODevice::Truncate) || !target.resize(size)) {
        QUILLON_LOG(file, function, "Create file Filed!");
        QUILLON_LOG(file, function, "disk failure, file path = %s, %s", path.toStdString().c_str(),
                    target.errorString().toStdString().c_str());
    }
}
