// SPDX-License-Identifier: MIT

#include "tests/kill/KillScene.h"

#include "platform/FileIdentity.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <algorithm>
#include <csignal>

namespace
{
constexpr int slowestStartMs = 2000;
/// A start is repeated when it was slow: one that is slow because of leftover files is slow each
/// time.
constexpr int startAttempts = 3;

QString gTraceFile(const UpdateSite &site)
{
    return QFileInfo(site.Home()).path() + "/trace";
}
} // namespace

QByteArray KillScene::Untraceable()
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return "A program with a sanitizer in it can neither be traced nor be given a library first.";
#else
    // Not every container lets one process trace another.
    const int status = QProcess::execute("strace", {"-qq", "-o", "/dev/null", "true"});
    return status == 0 ? QByteArray() : QByteArray("No process can be traced here.");
#endif
}

KillScene::KillScene(const QByteArray &package)
    : m_package(package)
{
}

bool KillScene::StartServer(int bytesPerSecond)
{
    return m_server.Start(m_site.Folder(), bytesPerSecond) &&
           m_site.Publish("setup.run", m_package) &&
           m_site.WriteManifest(m_server.BaseUrl() + "/packages/setup.run");
}

void KillScene::NewUser() const
{
    // The entries of the home, but not the home itself, because a file system may be mounted on it.
    const QFileInfoList entries =
        QDir(Home()).entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    for (const QFileInfo &entry : entries) {
        if (entry.isDir()) {
            QDir(entry.filePath()).removeRecursively();
        } else {
            QFile::remove(entry.filePath());
        }
    }
    QDir().mkpath(WorkingFolder());
}

KillScene::Snapshot KillScene::Take() const
{
    Snapshot snapshot;
    snapshot.target = gFileIdentity(Target()).toUtf8();
    QDirIterator entries(Home(), QDir::Files, QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QString path = entries.next();
        snapshot.files.insert(QDir(Home()).relativeFilePath(path), gReadFile(path));
    }
    return snapshot;
}

KillScene::Snapshot KillScene::BegunDownload()
{
    // Every chunk is written over the state, so the fourth time is within the download.
    NewUser();
    Inject(
        {"-P", StateFile(), "-e", "trace=lseek,write", "-e", "inject=lseek:signal=SIGKILL:when=4"});
    Run();
    Inject({});
    return Take();
}

void KillScene::Restore(const Snapshot &snapshot) const
{
    NewUser();
    for (auto file = snapshot.files.begin(); file != snapshot.files.end(); ++file) {
        const QString path = Home() + '/' + file.key();
        QDir().mkpath(QFileInfo(path).path());
        gWriteFile(path, file.value());
    }
    if (!snapshot.target.isEmpty()) {
        const QByteArray target = gFileIdentity(Target()).toUtf8();
        gWriteFile(StateFile(), gReadFile(StateFile()).replace(snapshot.target, target));
    }
}

void KillScene::Run(int killAfterMs)
{
    const DiskState before = DiskState::Read(StateFile());
    m_nextBefore = NextBytes(before);
    m_hadPlan = HasPlan(before);
    QFile::remove(Home() + "/log");
    DemoProcess demo(Home(), m_server.CheckTemplate());
    QStringList launcher{"strace", "-f", "-qq", "-y", "-s", "0", "-o", gTraceFile(m_site)};
    if (m_injection.isEmpty()) {
        // Only without an injection: strace 6.1 cannot inject into calls under --seccomp-bpf.
        launcher += QStringList{"--seccomp-bpf", "-e", "trace=lseek,write"};
    }
    launcher += m_injection;
    for (auto variable = m_variables.begin(); variable != m_variables.end(); ++variable) {
        launcher += QStringList{"-E", variable.key() + '=' + variable.value()};
    }
    demo.RunBy(launcher);
    demo.Start({"--on-version", "update", "--on-prompt", "cancel", "--on-hint", "close"});
    if (killAfterMs >= 0 && !demo.WaitForEndWithin(killAfterMs)) {
        KillHost(&demo);
    }
    m_exitStatus = demo.WaitForEnd();
    m_wasKilled = m_exitStatus == -1;
    ReadEvents(demo);
    m_trace = std::make_unique<CallTrace>(gTraceFile(m_site), Target());
    // Reads the service's output; otherwise its pipe fills up one day and blocks the service.
    m_server.Requests();
}

/// Kills the host and not strace, which started it: when strace is killed, the host lives on.
void KillScene::KillHost(DemoProcess *demo) const
{
    const QString tracer = QString::number(demo->ProcessId());
    const QByteArray children = gReadFile("/proc/" + tracer + "/task/" + tracer + "/children");
    const int host = children.simplified().split(' ').first().toInt();
    if (host > 0) {
        ::kill(host, SIGKILL);
    } else {
        demo->Kill();
    }
}

void KillScene::ReadEvents(const DemoProcess &demo)
{
    m_startMs = -1;
    QList<QJsonObject> starts = demo.Events("progress") + demo.Events("prompt");
    for (const QJsonObject &event : qAsConst(starts)) {
        const bool isBusy = event.value("event").toString() == QLatin1String("progress") &&
                            event.value("maximum").toInt() == 0;
        const int moment = event.value("t_ms").toInt();
        if (!isBusy && (m_startMs < 0 || moment < m_startMs)) {
            m_startMs = moment;
        }
    }
    m_hints.clear();
    for (const QJsonObject &event : demo.Events("page")) {
        if (event.value("name").toString() == QLatin1String("hint")) {
            m_hints.append(event.value("text").toString());
        }
    }
}

bool KillScene::HasPlan(const DiskState &state) const
{
    return state.packageSize == m_package.size() && QFileInfo::exists(Target());
}

DiskState::Bytes KillScene::NextBytes(const DiskState &state) const
{
    if (HasPlan(state)) {
        return state.start;
    }
    const auto bounds = gRangeBounds(m_package.size());
    DiskState::Bytes first{};
    std::copy_n(bounds.begin(), first.size(), first.begin());
    return first;
}

QStringList KillScene::Problems(bool mayLag) const
{
    const QByteArray installed = gReadFile(Installed());
    if (!installed.isEmpty()) {
        return installed == m_package ? QStringList() : QStringList("another package is installed");
    }
    const DiskState state = DiskState::Read(StateFile());
    if (HasPlan(state)) {
        return ProblemsOfState(state, mayLag);
    }
    if (m_trace->Writes().isEmpty() || (mayLag && !m_hadPlan)) {
        return {};
    }
    return {"there are bytes and no plan that they belong to"};
}

QStringList KillScene::ProblemsOfState(const DiskState &state, bool mayLag) const
{
    QStringList problems;
    const QByteArray target = gReadFile(Target());
    const auto bounds = gRangeBounds(m_package.size());
    for (size_t index = 0; index < state.start.size(); ++index) {
        const qint64 first = bounds.at(index);
        const qint64 next = state.start.at(index);
        const QString range = QString::number(index + 1);
        const auto part = [first, next](const QByteArray &bytes) {
            return bytes.mid(static_cast<int>(first), static_cast<int>(next - first));
        };
        if (next < first || part(target) != part(m_package)) {
            problems.append("the state is ahead of the data in range " + range);
        }
        if (mayLag) {
            continue;
        }
        const auto writes = m_trace->Writes(first, bounds.at(index + 1));
        const bool isUpToDate =
            writes.isEmpty()
                ? next == m_nextBefore.at(index) || next == first
                : next >= writes.last().offset && next <= writes.last().offset + writes.last().size;
        if (!isUpToDate) {
            problems.append("the state lags by more than a chunk in range " + range);
        }
    }
    return problems;
}

QStringList KillScene::Finish()
{
    m_injection.clear();
    m_variables.clear();
    const Snapshot before = Take();
    const DiskState::Bytes goesOnAt = NextBytes(DiskState::Read(StateFile()));
    const bool wasInstalled = IsInstalled() && !QFileInfo::exists(Target());
    for (int attempt = 1; attempt <= startAttempts; ++attempt) {
        if (attempt > 1) {
            Restore(before);
        }
        Run();
        if (m_startMs >= 0 && m_startMs <= slowestStartMs) {
            break;
        }
    }
    QStringList problems;
    if (m_startMs < 0 || m_startMs > slowestStartMs) {
        problems.append(QStringLiteral("the download started after %1 ms").arg(m_startMs));
    }
    if (!wasInstalled) {
        problems += ProblemsOfEnd(goesOnAt);
    }
    if (m_exitStatus != 0 || !IsInstalled()) {
        problems.append(QStringLiteral("the package is not there, exit status %1, %2")
                            .arg(m_exitStatus)
                            .arg(m_hints.join(' ')));
    }
    // Locks of the settings class may be left: they are in another folder, and those of a dead
    // process are removed before they are waited for.
    const QStringList locks = QDir(WorkingFolder()).entryList({"*.lock"});
    if (!locks.isEmpty()) {
        problems.append("left over: " + locks.join(' '));
    }
    return problems;
}

QStringList KillScene::ProblemsOfEnd(const DiskState::Bytes &goesOnAt) const
{
    QStringList problems;
    const auto bounds = gRangeBounds(m_package.size());
    qint64 missing = 0;
    for (size_t index = 0; index < goesOnAt.size(); ++index) {
        missing += bounds.at(index + 1) - goesOnAt.at(index);
        const auto writes = m_trace->Writes(bounds.at(index), bounds.at(index + 1));
        if (!writes.isEmpty() && writes.first().offset != goesOnAt.at(index)) {
            problems.append(QStringLiteral("range %1 went on at byte %2, not at %3")
                                .arg(index + 1)
                                .arg(writes.first().offset)
                                .arg(goesOnAt.at(index)));
        }
    }
    if (m_trace->BytesWritten() != missing) {
        problems.append(QStringLiteral("%1 bytes were written where %2 were missing")
                            .arg(m_trace->BytesWritten())
                            .arg(missing));
    }
    return problems;
}
