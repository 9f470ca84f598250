// SPDX-License-Identifier: MIT

#pragma once

#include "tests/e2e/HostProgram.h"
#include "tests/windows/VirtualScreen.h"

#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

/// What the programs of the Windows build run on: a copy of the build's Wine prefix with a display, so
/// that no two tests share files, a registry or trusted certificates.
///
/// Ownership: the creator; every program that still runs in it ends with the object.
class WindowsMachine
{
public:
    /// @param build the folder of the Windows build, where the copy is made, too
    /// @param sdk   the libraries that it was linked with
    WindowsMachine(const QString &build, const QString &sdk);
    ~WindowsMachine();
    WindowsMachine(const WindowsMachine &) = delete;
    WindowsMachine &operator=(const WindowsMachine &) = delete;

    /// @return whether programs can be run
    bool Start();

    /// @p name in the folder of the Windows build.
    QString Built(const QString &name) const { return m_build + QLatin1Char('/') + name; }

    /// How corvina-demo.exe is run on it.
    const HostProgram &Host() const { return m_host; }
    /// @p file of this machine as programs on it call it.
    QString Path(const QString &file) const { return m_host.Path(file); }

    /// Runs @p program to its end. @return its exit status; -1 when there is none
    int Run(const QString &program, const QStringList &arguments) const;

    /// From now on its encrypted connections trust the certificate in the PEM file @p path.
    bool Trust(const QString &path) const;

    /// Where hosts keep packages.
    QString PackageFolder() const;
    /// What an earlier test left there.
    bool RemovePackages() const;

    /// As long as this file is there, installers that were started wait.
    QString HoldFile() const;

private:
    bool CopyPrefix() const;

    QString m_build;
    HostProgram m_host;
    VirtualScreen m_screen;
    std::unique_ptr<QTemporaryDir> m_prefix;
};
