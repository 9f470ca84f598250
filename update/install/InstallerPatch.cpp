// SPDX-License-Identifier: MIT

#include "update/install/InstallerPatch.h"

#include "api/FileDigest.h"
#include "api/Log.h"
#include "update/base/DownloadSystem.h"
#include "update/base/EventSink.h"
#include "update/base/UpdateContext.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>

namespace
{
constexpr char logFile[] = "UpdateCommon";
constexpr char logFunction[] = "DownloadMgr::PatchIncreasePackage";

/// @return whether the program ended by itself in time. The exit code is not examined: the result is
/// verified.
bool gRunPatchProgram(const QString &program, const QStringList &arguments,
                      std::chrono::milliseconds limit)
{
    QProcess process;
    process.start(program, arguments);
    const bool ended = process.waitForFinished(static_cast<int>(limit.count()));
    const QByteArray output = process.readAllStandardError().trimmed();
    if (!output.isEmpty()) {
        QUILLON_LOG(logFile, logFunction, "%s", output.constData());
    }
    return ended && process.exitStatus() == QProcess::NormalExit;
}

bool gVerify(const QString &newInstaller, const QString &expectedMd5, EventSink &events)
{
    if (FileMd5Hex(newInstaller) == expectedMd5) {
        QUILLON_LOG(logFile, logFunction, "End Patch IncreasePackage");
        return true;
    }
    QUILLON_LOG(logFile, logFunction, "Match PatchPackage md5 Failed");
    events.ReportEvent(EventSink::PatchMd5Mismatch);
    return false;
}

/// The kept installer is whole: the new one replaces it only once a loss of power cannot damage it.
bool gFlushNewInstaller(const QString &newInstaller, const DownloadSystem &system)
{
    if (system.flush(newInstaller) != FlushResult::Failed) {
        return true;
    }
    QUILLON_LOG(logFile, logFunction, "disk failure, %s cannot be put on stable storage",
                newInstaller.toStdString().c_str());
    return false;
}

bool gReplaceKeptInstaller(const QString &keptInstaller, const QString &newInstaller)
{
    if (QFile::remove(keptInstaller) && QFile::rename(newInstaller, keptInstaller)) {
        return true;
    }
    QUILLON_LOG(logFile, logFunction, "%s cannot be replaced", keptInstaller.toStdString().c_str());
    return false;
}
} // namespace

bool gPatchKeptInstaller(const QString &keptInstaller, const QString &patchFile,
                         const QString &expectedMd5, const UpdateContext &context)
{
    const QString program = QCoreApplication::applicationDirPath() + QStringLiteral("/bspatch.exe");
    if (!QFile::exists(program)) {
        return false;
    }
    QUILLON_LOG(logFile, logFunction, "Start Patch IncreasePackage");
    const QString newInstaller = keptInstaller + QStringLiteral(".patch");
    if (gRunPatchProgram(program, {keptInstaller, newInstaller, patchFile},
                         context.system.patchLimit) &&
        gVerify(newInstaller, expectedMd5, context.events) &&
        gFlushNewInstaller(newInstaller, context.system) &&
        gReplaceKeptInstaller(keptInstaller, newInstaller)) {
        return true;
    }
    QUILLON_LOG(logFile, logFunction, "DispatchPackageFailed!!!");
    context.events.ReportEvent(EventSink::PatchDispatchFailed);
    return false;
}
