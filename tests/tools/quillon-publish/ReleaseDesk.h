// SPDX-License-Identifier: MIT

#pragma once

#include "update/UpdateCommon/VersionInfo.h"

#include <QByteArray>
#include <QMap>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

/// The files and programs of a release engineer: installers of several versions, notes,
/// quillon-publish, and a site to publish into.
class ReleaseDesk
{
public:
    struct Outcome {
        int code = -1;
        QString out;
        QString err;
    };

    /// The desk's folder; the site is "site" in it.
    QString Path(const QString &name) const { return m_folder.filePath(name); }
    QString Site() const { return Path(QStringLiteral("site")); }

    /// The path of a real installer of @p version, named "corvina-VERSION.exe". It is built once
    /// and shared by all objects of this class, so tests must not change it.
    static QString Installer(const QString &version);

    /// Writes @p content to the file @p name and gives its path.
    QString Write(const QString &name, const QByteArray &content) const;
    /// An executable shell script, as a stand-in for a program.
    QString Script(const QString &name, const QByteArray &body) const;

    /// Values for the options "bsdiff" and "bspatch": stand-ins that take no time, whose patch is the
    /// new installer itself.
    QMap<QString, QString> QuickPatches() const;

    /// A command line that publishes 9.3.0.0. @p changes replaces the values of options; an empty
    /// value leaves the option out.
    QStringList Arguments(const QMap<QString, QString> &changes = {},
                          const QStringList &previous = {}) const;

    /// Runs quillon-publish to its end.
    static Outcome Run(const QStringList &arguments);
    /// Runs it and warns of a failure. @return whether it published
    static bool Publish(const QStringList &arguments);
    /// Runs it with @p arguments that it has to refuse: with @p code and one line on stderr that
    /// contains @p says, and with all files of the desk as they were.
    /// @return what it did instead, otherwise empty
    QString RefusalFault(const QStringList &arguments, const QString &says, int code = 1) const;
    static std::unique_ptr<QProcess> Start(const QStringList &arguments);

    /// The manifest @p relative of the site, as clients read it.
    std::unique_ptr<VersionInfo> Manifest(const QString &relative) const;

    /// The packages that manifests of the site name and that it does not have.
    QStringList MissingPackages() const;

    /// Every file below the desk's folder with its content.
    QMap<QString, QByteArray> Files() const;

private:
    QTemporaryDir m_folder;
};
