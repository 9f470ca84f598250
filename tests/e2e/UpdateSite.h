// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

/// A folder that an update service serves, and the home of the user who updates from it.
class UpdateSite
{
public:
    /// @param workingFolder the folder in which the user's host keeps packages; by default a folder
    ///                      in the user's home
    explicit UpdateSite(const QString &workingFolder = QString());

    QString Folder() const;
    /// The user's home: settings, log and resume state.
    QString Home() const;
    QString WorkingFolder() const { return m_workingFolder; }

    /// Publishes @p content as packages/@p name.
    bool Publish(const QString &name, const QByteArray &content) const;

    /// Writes a manifest that offers 9.2.0.0, to be downloaded from @p url; with an empty @p url it
    /// offers nothing.
    bool WriteManifest(const QString &url) const;

    /// Publishes @p patch, which makes @p newInstaller out of @p oldInstaller, and a manifest that
    /// offers both packages as @p newVersion to hosts of version @p oldVersion.
    bool PublishPatch(const QString &baseUrl, const QString &oldVersion,
                      const QByteArray &oldInstaller, const QByteArray &newInstaller,
                      const QString &fullUrl, const QByteArray &patch,
                      const QString &newVersion = QStringLiteral("9.2.0.0")) const;
    static QString PatchName();

    /// A value of the resume state on disk.
    int ResumeValue(const QString &group, const QString &key) const;
    /// Writes a resume state for a package of @p size bytes.
    void WriteResumeState(int size, int already, const QList<QPair<int, int>> &ranges) const;

private:
    QTemporaryDir m_folder;
    QString m_workingFolder;
};
