// SPDX-License-Identifier: MIT

#pragma once

#include "tests/support/HttpServer.h"
#include "tests/support/LogCapture.h"
#include "tests/update/UpdateRig.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

/// An update rig and a server that a test lets misbehave. After every download the installer that is
/// in place has the right bytes, and nothing else in the folders is changed; see `Damage`.
///
/// Thread: GUI thread. Ownership: one for each test function; everything ends with it.
class HostileWorld
{
public:
    /// How an update has ended.
    enum class End {
        /// It has not ended.
        None,
        /// The installer is in place, and the user was asked.
        Installed,
        /// The hint page is shown.
        Told
    };

    static constexpr qint64 packageSize = 100003;

    HostileWorld();
    /// The server is an encrypted one.
    explicit HostileWorld(const TestCertificates &certificates);
    ~HostileWorld();

    static const QByteArray &Package();
    /// The ends of the range @p number, 1 to 5, of the package.
    static qint64 First(int number);
    static qint64 Last(int number);

    /// A server that is in order, with the package at "/files/setup.exe".
    static FaultScript Honest();
    /// The requests of one range of the package, whole or what is left of it.
    static FaultRule &Range(FaultScript &script, int number);

    HttpServer &Server() { return m_server; }
    UpdateRig &Rig() { return m_rig; }
    const LogCapture &Log() const { return m_log; }
    /// What the module has logged and asked for, for the report of a failed test.
    QByteArray Story() const;

    /// Gives the module a manifest whose full package is the absolute address @p url.
    void Offer(const QString &url, const QString &moreElements = QString());
    void Offer() { Offer(m_server.Address(QStringLiteral("/files/setup.exe"))); }
    void PressUpdateNow();
    /// The installer of the running version that an incremental package applies to.
    QString KeptInstaller() const { return m_rig.WorkingFolder() + QStringLiteral("/Corvina9"); }

    End Ended() const;

    /// Files that are wrong, missing or out of place, as one text; empty when there are none.
    QString Damage() const;

private:
    void Prepare();
    /// Makes the limits and the pauses of the module short, and keeps their order by length.
    static void ShortenWaits(DownloadSystem &system);
    QStringList StrangeFiles() const;
    QStringList WrongTarget() const;
    qint64 PlannedSize() const;
    QStringList WrongState() const;

    LogCapture m_log;
    UpdateRig m_rig;
    HttpServer m_server;
    int m_boxes = 0;
};
