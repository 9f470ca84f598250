// SPDX-License-Identifier: MIT

#pragma once

#include "tests/e2e/DemoProcess.h"
#include "tests/e2e/QuillonServe.h"
#include "tests/e2e/UpdateSite.h"
#include "tests/kill/CallTrace.h"
#include "tests/kill/DiskState.h"

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>

#include <memory>

/// A user's home and an update service, in which corvina-demo is killed and hindered. Every run is
/// recorded by strace, and compared with what was there before and what is there afterwards.
///
/// Ownership: the creator; the service and a host that still runs end with the object.
class KillScene
{
public:
    /// All files below the home, by their relative paths.
    using Snapshot = QMap<QString, QByteArray>;

    /// Why no host can be traced here; empty when one can.
    static QByteArray Untraceable();

    explicit KillScene(const QByteArray &package);

    bool StartServer(int bytesPerSecond);
    /// A home in which nothing has ever been downloaded.
    void NewUser() const;
    Snapshot Take() const;
    /// The home of a user whose first download was killed on its way: some chunks of it are there, and
    /// the state that claims them.
    Snapshot BegunDownload();
    void Restore(const Snapshot &files) const;

    /// What strace is told beyond the recording, for example to kill the host.
    void Inject(const QStringList &straceArguments) { m_injection = straceArguments; }
    /// A library that the host loads first, and the variables that it reads.
    void Preload(const QMap<QString, QString> &variables) { m_variables = variables; }

    /// Runs an update to its end; after @p killAfterMs, if that is not negative, the host is killed.
    void Run(int killAfterMs = -1);
    bool WasKilled() const { return m_wasKilled; }
    bool IsInstalled() const { return UpdateSite::Read(Installed()) == m_package; }

    /// What is wrong after the run. @param mayLag the state could not be kept up to date
    QStringList Problems(bool mayLag = false) const;

    /// Lets an update run to its end, which has to succeed without asking for anything twice.
    /// @return what is wrong with it
    QStringList Finish();

    QString Home() const { return m_site.Home(); }
    QString WorkingFolder() const { return m_site.WorkingFolder(); }
    QString Target() const { return WorkingFolder() + "/Corvina9(x64).tmp"; }
    QString Installed() const { return WorkingFolder() + "/setup.run"; }
    QString StateFile() const { return Home() + "/CvBreakResumeDownLoad.ini"; }
    QString SettingsFile() const { return Home() + "/Corvina.ini"; }
    QString Log() const { return QString::fromUtf8(UpdateSite::Read(Home() + "/log")); }
    /// The texts of the hint pages of the last run.
    QStringList Hints() const { return m_hints; }
    const CallTrace &Trace() const { return *m_trace; }

private:
    /// Where each range goes on, as the state on disk has it.
    DiskState::Bytes NextBytes(const DiskState &state) const;
    bool HasPlan(const DiskState &state) const;
    QStringList ProblemsOfState(const DiskState &state, bool mayLag) const;
    QStringList ProblemsOfEnd(const DiskState::Bytes &goesOnAt) const;
    void KillHost(DemoProcess *demo) const;
    void ReadEvents(const DemoProcess &demo);

    QByteArray m_package;
    UpdateSite m_site;
    QuillonServe m_server;
    QStringList m_injection;
    QMap<QString, QString> m_variables;
    DiskState::Bytes m_nextBefore{};
    bool m_hadPlan = false;
    std::unique_ptr<CallTrace> m_trace;
    QStringList m_hints;
    bool m_wasKilled = false;
    int m_exitStatus = 0;
    /// Milliseconds of the host's life until a download ran or was complete; -1: none did.
    int m_startMs = -1;
};
