// SPDX-License-Identifier: MIT

#pragma once

#include "tests/e2e/DemoProcess.h"
#include "tests/e2e/QuillonServe.h"
#include "tests/e2e/UpdateSite.h"
#include "tests/kill/CallTrace.h"
#include "tests/kill/DiskState.h"
#include "tests/support/TestFiles.h"

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>

#include <memory>

/// A user's home and an update service, with which corvina-demo is run and killed, or run with
/// failing calls. strace records every run; the record is compared with the files before and after.
///
/// Ownership: the creator; the service and a host that still runs end with the object.
class KillScene
{
public:
    struct Snapshot {
        /// All files below the home, by their relative paths.
        QMap<QString, QByteArray> files;
        /// The identity of the target, by which a state knows it; empty without one.
        QByteArray target;
    };

    /// Empty when a host can be traced on this system; otherwise the reason why not.
    static QByteArray Untraceable();

    explicit KillScene(const QByteArray &package);

    bool StartServer(int bytesPerSecond);
    /// A home in which nothing has ever been downloaded.
    void NewUser() const;
    Snapshot Take() const;
    /// The home of a user whose first download was killed: it has some chunks of the package, and
    /// the state that claims them.
    Snapshot BegunDownload();
    /// Puts everything back. The target is another file then, and the state is made to know it.
    void Restore(const Snapshot &snapshot) const;

    /// Further arguments of strace, for example to kill the host.
    void Inject(const QStringList &straceArguments) { m_injection = straceArguments; }
    /// A library that the host loads first, and the variables that it reads.
    void Preload(const QMap<QString, QString> &variables) { m_variables = variables; }

    /// Runs an update to its end; after @p killAfterMs, if that is not negative, the host is
    /// killed.
    void Run(int killAfterMs = -1);
    bool WasKilled() const { return m_wasKilled; }
    bool IsInstalled() const { return gReadFile(Installed()) == m_package; }

    /// The problems that are found after the run.
    /// @param mayLag the state may claim fewer bytes than were written
    QStringList Problems(bool mayLag = false) const;

    /// Runs an update to its end. It has to succeed and must ask for no byte a second time.
    /// @return the problems that are found
    QStringList Finish();

    QString Home() const { return m_site.Home(); }
    QString WorkingFolder() const { return m_site.WorkingFolder(); }
    QString Target() const { return WorkingFolder() + "/Corvina9(x64).tmp"; }
    QString Installed() const { return WorkingFolder() + "/setup.run"; }
    QString StateFile() const { return Home() + "/CvBreakResumeDownLoad.ini"; }
    QString SettingsFile() const { return Home() + "/Corvina.ini"; }
    QString Log() const { return QString::fromUtf8(gReadFile(Home() + "/log")); }
    /// The texts of the hint pages of the last run.
    QStringList Hints() const { return m_hints; }
    const CallTrace &Trace() const { return *m_trace; }

private:
    /// The byte at which each range goes on, according to the state on disk.
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
