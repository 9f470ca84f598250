// SPDX-License-Identifier: MIT

#pragma once

#include "tests/support/LogCapture.h"
#include "tests/support/MinisignKeyPair.h"
#include "tests/support/SignedManifest.h"
#include "tests/support/StatisticsServer.h"
#include "tests/update/UpdateRig.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <memory>

/// A signed site and a host that trusts its key: a full package of 9.2.0.0 and, on demand, a patch from the
/// kept installer of 9.1.0.0. The installers write a file when they are started.
///
/// Thread: GUI thread. Ownership: one for each test function.
class TrustScene
{
public:
    explicit TrustScene(const TestCertificates &certificates);

    UpdateRig &Rig() { return *m_rig; }
    const MinisignKeyPair &Key() const { return m_key; }
    /// What the site says; changed before `Publish`.
    SignedManifest &Manifest() { return m_manifest; }

    /// Offers a patch as well, and keeps the installer that it applies to.
    void AddPatch();
    /// Another program that says @p word when it is started.
    QByteArray Installer(const QByteArray &word) const;
    /// Signs the manifest and serves it with the packages.
    void Publish();
    /// Serves @p answer to checks.
    void ServeCheck(const QByteArray &answer);
    void ServeFull(const QByteArray &bytes);
    void ServePatch(const QByteArray &bytes);

    /// An interactive check. @return the page that it ends on
    QString Check();
    /// The user presses "Update Now", and everything goes on until the hint page or the last signal.
    void UpdateNow();
    bool CheckSilently();

    /// What the started installer said within a moment; empty when none was started.
    QByteArray Started(const QByteArray &expected) const;
    /// The packages' folder and the private one have no file of that name.
    QStringList PrivateFiles() const;
    QString Full() const { return m_rig->Installer(); }
    QString Kept() const { return m_rig->WorkingFolder() + QStringLiteral("/Corvina9"); }
    QString PatchFile() const { return m_rig->WorkingFolder() + QStringLiteral("/setup.patch"); }
    QList<int> Reports();
    /// The reason in the log why the manifest was refused; empty when it was not.
    QString Rule() const;
    const LogCapture &Log() const { return m_log; }

private:
    QString Mark() const { return m_rig->Path(QStringLiteral("mark")); }

    MinisignKeyPair m_key{'k'};
    LogCapture m_log;
    std::unique_ptr<StatisticsServer> m_statistics;
    std::unique_ptr<UpdateRig> m_rig;
    SignedManifest m_manifest;
};
