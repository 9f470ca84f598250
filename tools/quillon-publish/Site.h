// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QLockFile>
#include <QString>
#include <QStringList>

/// The folder that the update service serves, and the release that is being put together for it in a
/// folder beside it.
///
///     packages/            installers and patches; a name never changes its content
///     manifests/V.xml      what the service answers to clients of version V
///     manifest.xml         what it answers to all others
///
/// Nothing in the site changes before `Publish`. The folder beside it goes with the object; one that
/// an ended run has left is removed.
class Site
{
public:
    /// @throws PublishError when the folder cannot be used or another run is publishing into it.
    explicit Site(const QString &folder);
    ~Site();
    Site(const Site &) = delete;
    Site &operator=(const Site &) = delete;

    /// Where to write the package @p name to before it is added.
    QString StagedPackage(const QString &name) const;

    /// A folder for files that are not published.
    QString ScratchFolder() const;

    /// Takes the package @p name, written meanwhile, into the release.
    /// @throws PublishError when the site has another one under this name.
    void AddPackage(const QString &name);

    /// The name of a published package other than @p name that has @p size bytes; empty when there is
    /// none.
    QString OtherPackageOfSize(qint64 size, const QString &name) const;

    /// Takes the manifest for clients of @p version into the release. @throws PublishError
    void AddManifest(const QString &version, const QByteArray &document);

    /// Takes the manifest for all other clients into the release. The manifests that the site has
    /// for versions without one in this release are replaced by it: each names an older release.
    /// @throws PublishError
    void SetMainManifest(const QByteArray &document);

    /// Puts the release into the site: the packages, then the manifests of single versions, then
    /// "manifest.xml", so that at no moment a manifest names a package that is not there.
    /// @throws PublishError, and the site is as it was.
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
