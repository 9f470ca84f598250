// SPDX-License-Identifier: MIT

#pragma once

#include "tests/e2e/HostProgram.h"

#include <QJsonObject>
#include <QList>
#include <QProcess>
#include <QString>
#include <QStringList>

#include <functional>

/// One run of corvina-demo in a process of its own, and the events that it printed.
///
/// Ownership: the creator; a process that still runs is killed with the object.
class DemoProcess
{
public:
    /// @param home          folder of the user's data, settings and caches; the caller gives the
    ///                      same one to several runs that belong together
    /// @param checkTemplate the check's address template
    /// @param host          the host to run; it looks for the patch program in its own folder
    DemoProcess(const QString &home, const QString &checkTemplate, HostProgram host = {});
    ~DemoProcess();

    /// Sets the command that later starts run the host by; the host's own command is appended to
    /// it.
    void RunBy(const QStringList &launcher) { m_host.launcher = launcher; }

    /// Starts an interactive check as version 9.1.0.0, with @p arguments after the common ones.
    void Start(const QStringList &arguments);

    /// Waits until the process has ended. @return its exit status; -1 when it was killed or hangs.
    int WaitForEnd();

    /// Waits at most @p limitMs until the process has ended. @return whether it has ended.
    bool WaitForEndWithin(int limitMs) { return m_process.waitForFinished(limitMs); }

    qint64 ProcessId() const { return m_process.processId(); }

    /// Waits for an event that @p wanted accepts. @return whether it came before the process ended.
    bool WaitFor(const std::function<bool(const QJsonObject &)> &wanted);

    /// Waits until the progress page counts at least @p bytes. @return whether it did.
    bool WaitForBytes(int bytes);

    /// Kills the process (SIGKILL): none of its destructors run.
    void Kill();

    /// Memory in KiB by its name in /proc/PID/status ("VmRSS": now, "VmHWM": the most so far).
    int MemoryKiB(const QByteArray &name) const;

    /// All events with the name @p event so far.
    QList<QJsonObject> Events(const QString &event) const;

    /// The values of the field @p field in all events with the name @p event, in order.
    QStringList Values(const QString &event, const QString &field) const;
    /// The names of all signals so far, in order.
    QStringList Signals() const { return Values(QStringLiteral("signal"), QStringLiteral("name")); }
    /// The text of the last page.
    QString PageText() const
    {
        return Values(QStringLiteral("page"), QStringLiteral("text")).last();
    }

    /// What the module wrote to the log.
    QString Log() const;

private:
    void ReadEvents();

    QString m_home;
    QString m_checkTemplate;
    HostProgram m_host;
    QProcess m_process;
    QList<QJsonObject> m_events;
};
