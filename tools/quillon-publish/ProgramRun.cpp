// SPDX-License-Identifier: MIT

#include "tools/quillon-publish/ProgramRun.h"

#include "tools/quillon-publish/Console.h"
#include "tools/quillon-publish/PublishError.h"

#include <QElapsedTimer>
#include <QProcess>

namespace
{
constexpr int lineEverySeconds = 3;
constexpr int msPerSecond = 1000;

void gWaitWithProgress(QProcess &process, const QString &label, int limitSeconds)
{
    int seconds = 0;
    while (!process.waitForFinished(lineEverySeconds * msPerSecond) &&
           process.state() != QProcess::NotRunning) {
        seconds += lineEverySeconds;
        if (limitSeconds >= 0 && seconds >= limitSeconds) {
            process.kill();
            process.waitForFinished();
            throw PublishError(QStringLiteral("%1 took longer than %2 s, which is what clients "
                                              "wait for it")
                                   .arg(process.program())
                                   .arg(limitSeconds));
        }
        gPrintLine(QStringLiteral("%1 %2 s").arg(label).arg(seconds));
    }
}

void gRefuseFailure(QProcess &process)
{
    if (process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0) {
        return;
    }
    const QString how = process.exitStatus() == QProcess::NormalExit
                            ? QStringLiteral("exit code %1").arg(process.exitCode())
                            : QStringLiteral("it crashed");
    throw PublishError(
        QStringLiteral("%1 failed, %2: %3")
            .arg(process.program(), how, QString::fromLocal8Bit(process.readAllStandardError())));
}
} // namespace

qint64 gRunProgram(const QString &program, const QStringList &arguments, const QString &label,
                   int limitSeconds)
{
    QElapsedTimer clock;
    clock.start();
    QProcess process;
    process.setStandardOutputFile(QProcess::nullDevice());
    process.start(program, arguments);
    if (!process.waitForStarted()) {
        throw PublishError(
            QStringLiteral("cannot start %1: %2").arg(program, process.errorString()));
    }
    gWaitWithProgress(process, label, limitSeconds);
    gRefuseFailure(process);
    return clock.elapsed();
}
