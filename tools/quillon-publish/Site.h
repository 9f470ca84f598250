// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QLockFile>
#include <QString>
#include <QStringList>

/// The folder that the update service serves, and the staging folder beside it, in which the next
/// release is prepared.
///
///     packages/            installers and patches; a name never changes its content
///     manifests/V.xml      what the service answers to clients of version V
///     manifest.xml         what it answers to all others
///
/// Nothing in the site changes before `Publish`. The destructor removes the staging folder; the
/// constructor removes one that an earlier run has left.
class Site
{
public:
    /// @throws PublishError when the folder cannot be used or another run is publishing into it.
    explicit Site(const QString &folder);
    ~Site();
    Site(const Site &) = delete;
    Site &operator=(const Site &) = delete;

    /// The path to which the package @p name is to be written before `AddPackage`.
    QString StagedPackage(const QString &name) const;

    /// A folder for files that are not published.
    QString ScratchFolder() const;

    /// Adds the package @p name, which is in its staged place by now, to the release. A published
    /// package with this name and content is used as it is.
    /// @throws PublishError when the site has another one under this name.
    void AddPackage(const QString &name);

    /// The name of a published package other than @p name that has @p size bytes; empty when there
    /// is none.
    QString OtherPackageOfSize(qint64 size, const QString &name) const;

    /// Adds the manifest for clients of @p version to the release. @throws PublishError
    void AddManifest(const QString &version, const QByteArray &document);

    /// Adds the manifest for all other clients to the release. It also replaces the manifests that
    /// the site has for versions without one in this release, because those name an older release.
    /// @throws PublishError
    void SetMainManifest(const QByteArray &document);

    /// Moves the release into the site: the packages, then the manifests of single versions, then
    /// "manifest.xml". In this order no manifest ever names a package that is missing.
    /// @throws PublishError; the changes are then taken back (`FileChanges`).
    void Publish();

private:
    void MakeStaging() const;
    QString Staged(const QString &relative) const;
    QString Published(const QString &relative) const;

    QString m_folder;
    QString m_staging;
    QLockFile m_lock;
    /// New files, relative to the site, in the order of their publication.
    QStringList m_packages;
    QStringList m_manifests;
};
