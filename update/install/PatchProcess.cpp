// SPDX-License-Identifier: MIT

#include "update/install/PatchProcess.h"

#include "api/Log.h"
#include "update/plan/PackageNames.h"

#include <QDir>
#include <QFile>
#include <QProcess>

namespace
{
constexpr char logFile[] = "UpdateCommon";
constexpr char logFunction[] = "DownloadMgr::PatchIncreasePackage";

PatchProcessEnd gAwait(QProcess *process, std::chrono::milliseconds limit)
{
    if (process->waitForFinished(static_cast<int>(limit.count()))) {
        return process->exitStatus() == QProcess::NormalExit ? PatchProcessEnd::Exited
                                                             : PatchProcessEnd::Crashed;
    }
    if (process->state() == QProcess::NotRunning) {
        return PatchProcessEnd::Crashed;
    }
    process->kill();
    return process->waitForFinished() ? PatchProcessEnd::Killed : PatchProcessEnd::StillRunning;
}
} // namespace

PatchProcessEnd gRunPatchProcess(const QString &program, const QStringList &arguments,
                                 std::chrono::milliseconds limit)
{
    QProcess process;
    process.start(program, arguments);
    const PatchProcessEnd end = gAwait(&process, limit);
    const QByteArray output = process.readAllStandardError().trimmed();
    if (!output.isEmpty()) {
        QUILLON_LOG(logFile, logFunction, "%s", output.constData());
    }
    return end;
}

bool gRemovePatchTemporaryFiles(const QString &folder)
{
    bool areGone = true;
    const QDir dir(folder);
    const QStringList names = dir.entryList(QDir::AllEntries | QDir::Hidden | QDir::System);
    for (const QString &name : names) {
        if (gIsPatchTemporaryFile(name) && !QFile::remove(dir.filePath(name))) {
            QUILLON_LOG(logFile, logFunction, "disk failure, %s cannot be removed",
                        dir.filePath(name).toStdString().c_str());
            areGone = false;
        }
    }
    return areGone;
}
