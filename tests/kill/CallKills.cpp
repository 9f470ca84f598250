// SPDX-License-Identifier: MIT

#include "tests/kill/CallKills.h"

#include "tests/support/TestBytes.h"

namespace
{
constexpr qint64 packageSize = 150003;
/// The service sends a hundredth of this at a time: several chunks for each range, each smaller
/// than the buffer of a file, so that a missing flush of that buffer would be found.
constexpr int bytesPerSecond = 1000000;
/// The number of calls varies a little from run to run.
constexpr int missesUntilEnd = 2;
} // namespace

CallKills::CallKills(Tally *tally)
    : m_tally(tally)
    , m_scene(gTestBytes(packageSize, 3))
{
}

QList<CallKills::Call> CallKills::Calls() const
{
    const QString target = m_scene.Target();
    QStringList files{target,
                      m_scene.StateFile(),
                      m_scene.SettingsFile(),
                      m_scene.Installed(),
                      m_scene.Home(),
                      m_scene.WorkingFolder(),
                      m_scene.WorkingFolder() + "/Corvina9(x64).lock"};
    files << m_scene.StateFile() + ".new" << m_scene.Target() + ".new"
          << m_scene.SettingsFile() + ".lock" << m_scene.SettingsFile() + ".lock.rmlock";
    return {{"openat", files}, {"write", files},        {"ftruncate", {}}, {"linkat", {}},
            {"rename", {}},    {"renameat2", {}},       {"unlink", {}},    {"fsync", {}},
            {"fdatasync", {}}, {"fdatasync", {target}}, {"flock", {}},     {"fcntl", {}}};
}

bool CallKills::Begin()
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

void CallKills::RunAll()
{
    m_tally->Begin("kills at system calls");
    if (Begin()) {
        for (const Call &call : Calls()) {
            for (const bool resumes : {false, true}) {
                int misses = 0;
                for (int number = 1; misses < missesUntilEnd; ++number) {
                    misses = Kill(call, number, resumes) ? 0 : misses + 1;
                }
            }
        }
    }
    m_tally->End();
}

void CallKills::RunShort()
{
    m_tally->Begin("kills at system calls");
    if (Begin()) {
        Kill({"rename", {}}, 2, false);
        Kill({"write", {m_scene.StateFile()}}, 3, false);
        Kill({"write", {m_scene.StateFile()}}, 2, true);
        Kill({"fdatasync", {m_scene.Target()}}, 1, true);
    }
    m_tally->End();
}

bool CallKills::Kill(const Call &call, int number, bool resumes)
{
    if (resumes) {
        m_scene.Restore(m_begun);
    } else {
        m_scene.NewUser();
    }
    QStringList arguments;
    for (const QString &path : call.paths) {
        arguments << "-P" << path;
    }
    arguments << "-e"
              << "trace=lseek,write," + call.name << "-e"
              << QStringLiteral("inject=%1:signal=SIGKILL:when=%2").arg(call.name).arg(number);
    m_scene.Inject(arguments);
    m_scene.Run();
    if (!m_scene.WasKilled()) {
        return false;
    }
    m_tally->Kill();
    const QStringList problems = m_scene.Problems() + m_scene.Finish();
    m_tally->Case(QStringLiteral("%1%2 no. %3 of a %4 download")
                      .arg(call.name, call.paths.size() == 1 ? " of the package" : "")
                      .arg(number)
                      .arg(resumes ? "resumed" : "fresh"),
                  problems);
    return true;
}
