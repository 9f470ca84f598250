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
    /// @param home     folder of the user's data, settings and caches; kept by the caller over
    /// several
    ///                 runs that belong together
    /// @param checkTemplate the check's address template
    /// @param host          the host to run; its folder is where it looks for the patch program
    DemoProcess(const QString &home, const QString &checkTemplate, HostProgram host = {});
    ~DemoProcess();

    /// From now on the host is run by @p launcher, a command to which its own is appended.
    void RunBy(const QStringList &launcher) { m_host.launcher = launcher; }

    /// Starts an interactive check as version 9.1.0.0, with @p arguments behind the common ones.
    void Start(const QStringList &arguments);

    /// Waits until the process has ended. @return its exit status; -1 when it was killed or hangs.
    int WaitForEnd();

    /// Waits until the process has ended, but not for longer than @p limitMs. @return whether it has.
    bool WaitForEndWithin(int limitMs) { return m_process.waitForFinished(limitMs); }

    qint64 ProcessId() const { return m_process.processId(); }

    /// Waits for an event that @p wanted accepts. @return whether it came before the process ended.
    bool WaitFor(const std::function<bool(const QJsonObject &)> &wanted);

    /// Waits until the progress page counts at least @p bytes. @return whether it came so far.
    bool WaitForBytes(int bytes);

    /// Ends the process at once, without a chance to tidy up (kill -9).
    void Kill();

    /// Memory in KiB by the name that the system gives it ("VmRSS": now, "VmHWM": the most so far).
    int MemoryKiB(const QByteArray &name) const;

    /// All events with the name @p event so far.
    QList<QJsonObject> Events(const QString &event) const;

    /// The values of the field @p field in all events with the name @p event, in order.
    QStringList Values(const QString &event, const QString &field) const;

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
