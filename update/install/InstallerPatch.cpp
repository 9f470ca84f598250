// SPDX-License-Identifier: MIT

#include "update/install/InstallerPatch.h"

#include "api/FileDigest.h"
#include "api/Log.h"
#include "update/UpdateCommon/UpdateEventReport.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>

namespace
{
constexpr char logFile[] = "UpdateCommon";
constexpr char logFunction[] = "DownloadMgr::PatchIncreasePackage";

/// Whether the program ended by itself in time. Its exit code is not asked: the result is verified.
bool gRun(const QString &program, const QStringList &arguments, std::chrono::milliseconds limit)
{
    QProcess process;
    process.start(program, arguments);
    const bool ended = process.waitForFinished(static_cast<int>(limit.count()));
    const QByteArray words = process.readAllStandardError().trimmed();
    if (!words.isEmpty()) {
        QUILLON_LOG(logFile, logFunction, "%s", words.constData());
    }
    return ended && process.exitStatus() == QProcess::NormalExit;
}

bool gIsVerified(const QString &newInstaller, const QString &expectedMd5)
{
    if (FileMd5Hex(newInstaller) == expectedMd5) {
        QUILLON_LOG(logFile, logFunction, "End Patch IncreasePackage");
        return true;
    }
    QUILLON_LOG(logFile, logFunction, "Match PatchPackage md5 Failed");
    UpdateEventReport::GetInstance()->ReportEvent(UpdateEventReport::PatchMd5Mismatch);
    return false;
}

/// The new installer takes the place of one that is whole, also when the power fails meanwhile.
bool gIsOnDisk(const QString &newInstaller, const DownloadSystem &seams)
{
    if (seams.flush(newInstaller) != FlushResult::Failed) {
        return true;
    }
    QUILLON_LOG(logFile, logFunction, "disk failure, %s cannot be put on stable storage",
                newInstaller.toStdString().c_str());
    return false;
}

bool gReplace(const QString &keptInstaller, const QString &newInstaller)
{
    if (QFile::remove(keptInstaller) && QFile::rename(newInstaller, keptInstaller)) {
        return true;
    }
    QUILLON_LOG(logFile, logFunction, "%s cannot be replaced", keptInstaller.toStdString().c_str());
    return false;
}
} // namespace

bool gPatchKeptInstaller(const QString &keptInstaller, const QString &patchFile,
                         const QString &expectedMd5, const DownloadSystem &seams)
{
    const QString program = QCoreApplication::applicationDirPath() + QStringLiteral("/bspatch.exe");
    if (!QFile::exists(program)) {
        return false;
    }
    QUILLON_LOG(logFile, logFunction, "Start Patch IncreasePackage");
    const QString newInstaller = keptInstaller + QStringLiteral(".patch");
    if (gRun(program, {keptInstaller, newInstaller, patchFile}, seams.patchLimit) &&
        gIsVerified(newInstaller, expectedMd5) && gIsOnDisk(newInstaller, seams) &&
        gReplace(keptInstaller, newInstaller)) {
        return true;
    }
    QUILLON_LOG(logFile, logFunction, "DispatchPackageFailed!!!");
    UpdateEventReport::GetInstance()->ReportEvent(UpdateEventReport::PatchDispatchFailed);
    return false;
}
