// SPDX-License-Identifier: MIT

#pragma once

#include "tests/e2e/HostProgram.h"
#include "tests/windows/VirtualScreen.h"

#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

/// The system that the programs of the Windows build run on: Wine with a copy of the build's prefix
/// and with a display, so that no two tests share files, a registry or trusted certificates.
///
/// Ownership: the creator; the destructor ends every program that still runs in it.
class WindowsMachine
{
public:
    /// @param build the folder of the Windows build; the copy of the prefix is made there
    /// @param sdk   the folder of the libraries that the build was linked with
    WindowsMachine(const QString &build, const QString &sdk);
    ~WindowsMachine();
    WindowsMachine(const WindowsMachine &) = delete;
    WindowsMachine &operator=(const WindowsMachine &) = delete;

    /// @return whether programs can be run
    bool Start();

    /// @p name in the folder of the Windows build.
    QString Built(const QString &name) const { return m_build + QLatin1Char('/') + name; }

    /// corvina-demo.exe and the way to run it.
    const HostProgram &Host() const { return m_host; }
    /// The path by which programs under Wine find @p file of this machine.
    QString Path(const QString &file) const { return m_host.Path(file); }

    /// Runs @p program to its end. @return its exit status; -1 when it did not end by itself
    int Run(const QString &program, const QStringList &arguments) const;

    /// Makes programs that are started later trust the certificate in the PEM file @p path.
    /// @return whether it was stored
    bool Trust(const QString &path) const;

    /// The folder in which hosts keep packages.
    QString PackageFolder() const;
    /// Removes that folder. @return whether it is gone
    bool RemovePackages() const;

    /// The names of the files in this user's folder for private copies; locks are none.
    QStringList PrivateCopies() const;

    /// Installers that were started wait as long as this file exists.
    QString HoldFile() const;

private:
    bool CopyPrefix() const;

    QString m_build;
    HostProgram m_host;
    VirtualScreen m_screen;
    std::unique_ptr<QTemporaryDir> m_prefix;
};
