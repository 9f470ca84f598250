// SPDX-License-Identifier: MIT

#include "update/plan/PackageFolder.h"

#include "api/Log.h"
#include "CvPaths.h"
#include "platform/CommonDocuments.h"
#include "platform/ProcessLock.h"

#include <QCoreApplication>
#include <QDir>

QString gSharedPackageFolder()
{
    const QString documents = gCommonDocumentsFolder();
    if (documents.isEmpty()) {
        return {};
    }
    const QString folder = documents + QStringLiteral("/Halvard");
    QDir().mkpath(folder);
    return IsPathWriteable(folder) ? folder : QString();
}

QString gPackageFolder()
{
    const QString shared = gSharedPackageFolder();
    return shared.isEmpty() ? QCoreApplication::applicationDirPath() : shared;
}

QString gPackageLockFile()
{
    return gPackageFolder() + QStringLiteral("/Corvina9(x64).lock");
}

std::shared_ptr<ProcessLock> gLockPackages()
{
    constexpr char file[] = "LiveUpdateMgr";
    constexpr char function[] = "LiveUpdateMgr::StartDownload";

    auto lock = std::make_shared<ProcessLock>();
    const QString path = gPackageLockFile();
    switch (lock->TryLock(path)) {
    case ProcessLock::Outcome::Taken:
        break;
    case ProcessLock::Outcome::HeldByAnother:
        QUILLON_LOG(file, function, "another download is running, it holds %s",
                    path.toStdString().c_str());
        return nullptr;
    case ProcessLock::Outcome::Unavailable:
        // A folder that cannot be written shows when the target is opened.
        QUILLON_LOG(file, function, "%s cannot be locked", path.toStdString().c_str());
        break;
    }
    return lock;
}
