// SPDX-License-Identifier: MIT

#include "tests/kill/FailingCalls.h"

#include "tests/support/TestBytes.h"

#include <QFileInfo>

namespace
{
constexpr qint64 packageSize = 300003;
constexpr int bytesPerSecond = 3000000;
const char failedText[] = "Failed to download the update.";

QString gMarkFile(const KillScene &scene)
{
    return scene.Home() + "/failed";
}

QString gSystemText(const QString &how)
{
    return how == "ENOSPC" ? QStringLiteral("No space left on device")
                           : QStringLiteral("Input/output error");
}
} // namespace

FailingCalls::FailingCalls(Tally *tally)
    : m_tally(tally)
    , m_scene(gTestBytes(packageSize, 7))
{
}

bool FailingCalls::Begin()
{
    if (!m_scene.StartServer(bytesPerSecond)) {
        m_tally->Case("the service", {"it does not start"});
        return false;
    }
    m_begun = m_scene.BegunDownload();
    if (!m_scene.WasKilled()) {
        m_tally->Case("a begun download", {"it was not killed"});
        return false;
    }
    return true;
}

void FailingCalls::RunAll()
{
    m_tally->Begin("failing writes");
    if (Begin()) {
        for (const File file : {File::Package, File::State}) {
            for (const char *how : {"ENOSPC", "EIO", "EINTR", "SHORT"}) {
                for (const bool isForEver : {false, true}) {
                    for (const bool resumes : {false, true}) {
                        int number = 1;
                        while (Fail({file, how, isForEver}, number, resumes)) {
                            ++number;
                        }
                    }
                }
            }
        }
        KeepOldState();
    }
    m_tally->End();
}

void FailingCalls::RunShort()
{
    m_tally->Begin("failing writes");
    if (Begin()) {
        const bool allFailed = Fail({File::Package, "ENOSPC", true}, 3, false) &&
                               Fail({File::Package, "SHORT", true}, 1, true) &&
                               Fail({File::State, "EIO", false}, 2, false);
        if (!allFailed) {
            m_tally->Case("the writes of a download", {"one that was to fail was not reached"});
        }
        KeepOldState();
    }
    m_tally->End();
}

bool FailingCalls::Fail(const Failure &failure, int number, bool resumes)
{
    if (resumes) {
        m_scene.Restore(m_begun);
    } else {
        m_scene.NewUser();
    }
    const bool isPackage = failure.file == File::Package;
    m_scene.Preload({{"LD_PRELOAD", FAILING_WRITE},
                     {"FAILING_PATH", isPackage ? m_scene.Target() : QString()},
                     {"FAILING_TEXT", isPackage ? QString() : QStringLiteral("[DownLoad_Tasks]")},
                     {"FAILING_CALL", QString::number(number)},
                     {"FAILING_EVER", failure.isForEver ? "1" : "0"},
                     {"FAILING_HOW", failure.how},
                     {"FAILING_MARK", gMarkFile(m_scene)}});
    m_scene.Run();
    if (!QFileInfo::exists(gMarkFile(m_scene))) {
        return false;
    }
    QStringList problems = m_scene.Problems(!isPackage) + ProblemsOfEnd(failure);
    m_scene.Preload({});
    problems += m_scene.Finish();
    m_tally->Case(QStringLiteral("%1 at write no. %2 %3 to the %4 of a %5 download")
                      .arg(failure.how)
                      .arg(number)
                      .arg(failure.isForEver ? "and all that follow" : "only",
                           isPackage ? "package" : "state", resumes ? "resumed" : "fresh"),
                  problems);
    return true;
}

QStringList FailingCalls::ProblemsOfEnd(const Failure &failure) const
{
    QStringList problems;
    const bool mustSucceed = failure.how == "EINTR" || failure.how == "SHORT";
    if (m_scene.IsInstalled() && m_scene.Hints().isEmpty()) {
        if (!mustSucceed && failure.file == File::Package) {
            problems.append("the failure was overlooked");
        }
    } else if (mustSucceed) {
        problems.append("it failed without need: " + m_scene.Hints().join(' '));
    } else if (!m_scene.Hints().contains(failedText)) {
        problems.append("no word on the hint page: " + m_scene.Hints().join(' '));
    }
    if (m_scene.WasKilled()) {
        problems.append("the host crashed or hung");
    }
    // A state that could not be written is written again at once.
    if (mustSucceed || (failure.file == File::State && !failure.isForEver)) {
        return problems;
    }
    const QString expected =
        failure.file == File::Package
            ? QStringLiteral("disk failure, file write error!!! file path = %1, %2")
                  .arg(m_scene.Target(), gSystemText(failure.how))
            : QStringLiteral("disk failure, the resume state cannot be written, file path = %1")
                  .arg(m_scene.StateFile());
    if (!m_scene.Log().contains(expected)) {
        problems.append("the log does not say '" + expected + "'");
    }
    return problems;
}

void FailingCalls::KeepOldState()
{
    m_scene.Restore(m_begun);
    QFile::remove(m_scene.Target());
    m_scene.Preload({{"LD_PRELOAD", FAILING_WRITE},
                     {"FAILING_TEXT", "[DownLoad_Tasks]"},
                     {"FAILING_CALL", "1"},
                     {"FAILING_EVER", "1"},
                     {"FAILING_HOW", "ENOSPC"},
                     {"FAILING_MARK", gMarkFile(m_scene)}});
    m_scene.Inject({"-P", m_scene.Target(), "-e", "trace=lseek,write", "-e",
                    "inject=write:signal=SIGKILL:when=2"});
    m_scene.Run();
    if (m_scene.WasKilled()) {
        m_tally->Kill();
    }
    const QStringList problems = m_scene.Problems(true);
    m_tally->Case("a state that cannot be replaced, of a package that is gone",
                  problems + m_scene.Finish());
}
