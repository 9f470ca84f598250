// SPDX-License-Identifier: MIT

#pragma once

#include "tests/e2e/DemoProcess.h"
#include "tests/e2e/LocalServer.h"
#include "tests/e2e/UpdateSite.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <memory>

/// The parts of a whole update: a site, a server for it, and a host with a user's home.
///
/// Ownership: the creator; servers and hosts end with the object.
class UpdateScene
{
public:
    static constexpr int rangeCount = 5;
    static const QString &InstallerName();

    /// @param serverName "nginx" or "quillon-serve"
    /// @param workingFolder as for `UpdateSite`
    explicit UpdateScene(QString serverName, HostProgram host = {},
                         const QString &workingFolder = QString());
    ~UpdateScene();

    /// Starts the server, after ending a running one, and makes a host that uses it.
    bool StartServer(int bytesPerSecond = 0);

    /// Publishes @p content as the installer of 9.2.0.0, with a manifest that offers it to
    /// everyone.
    bool PublishInstaller(const QByteArray &content) const;

    QString PackageUrl(const QString &name, const QString &prefix = QString()) const;
    /// The path of the installer that is put in place.
    QString InstalledPath() const;
    /// The path that a full package is downloaded to.
    QString TargetPath() const;

    /// Runs an update that accepts the offer and gives @p promptAnswer to the prompt.
    /// @return the host's exit status
    int Run(const QString &promptAnswer) const;

    /// Waits for the line that the installer of @p version writes.
    bool InstallerHasRun(const QString &version) const;

    /// The ranges that the resume state on disk has still to be asked for, sorted.
    QStringList RangesLeft() const;

    /// The ranges of package @p name that were asked for, sorted.
    QStringList RangesAsked(const QString &name) const;

    UpdateSite site;
    std::unique_ptr<LocalServer> server;
    std::unique_ptr<DemoProcess> demo;

    /// Builds a real installer of @p version with a payload of @p megabytes. Empty on failure.
    static QByteArray MakeInstaller(const QString &version, int megabytes);

private:
    QString m_serverName;
    HostProgram m_host;
};
