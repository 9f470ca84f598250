// SPDX-License-Identifier: MIT

#include "tests/host/bspatch/ProgramRun.h"

#include "tests/host/bspatch/PatchFolder.h"

#include <QFileInfo>
#include <QProcess>

namespace
{
constexpr int patience = 100000;
} // namespace

ProgramRun ProgramRun::Of(const QString &program, const QStringList &arguments,
                          const QString &folder)
{
    QProcess process;
    process.setWorkingDirectory(folder);
    process.start(program, arguments);
    ProgramRun run;
    if (process.waitForFinished(patience) && process.exitStatus() == QProcess::NormalExit) {
        run.exitCode = process.exitCode();
    }
    run.output = process.readAllStandardOutput().replace("\r\n", "\n");
    run.errors = process.readAllStandardError().replace("\r\n", "\n");
    return run;
}

QString ProgramRun::Complaint(const QString &program, const QStringList &arguments,
                              const QString &folder)
{
    const ProgramRun run = Of(program, arguments, folder);
    if (run.exitCode == 0 && run.errors.isEmpty() && run.output.isEmpty()) {
        return {};
    }
    return QStringLiteral("%1 ended with %2: %3")
        .arg(program)
        .arg(run.exitCode)
        .arg(QString::fromLocal8Bit(run.errors));
}

QString ProgramRun::ComplaintOfBspatch(const PatchFolder &folder)
{
    return Complaint(Bspatch(), {folder.OldPath(), folder.NewPath(), folder.PatchPath()});
}

QString ProgramRun::Bspatch()
{
    return QFileInfo(QStringLiteral(BSPATCH)).absoluteFilePath();
}
