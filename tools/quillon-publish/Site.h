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
///     serial               the number of the last signed publication, if there was one
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

    /// The versions that the published site has manifests for; the empty one, which is the last, is
    /// that of "manifest.xml".
    QStringList ManifestVersions() const;

    /// The published manifest for clients of @p version. @throws PublishError
    QByteArray PublishedManifest(const QString &version) const;

    /// The path below the site of the manifest for clients of @p version; for the empty one
    /// "manifest.xml".
    static QString ManifestName(const QString &version);

    /// Adds the manifest for clients of @p version to the release; the empty version is for all
    /// others and has to be added once. @throws PublishError
    void AddManifest(const QString &version, const QByteArray &document);

    /// Whether the published site has the file of the serial, and what that contains.
    bool HasSerial() const;
    /// @throws PublishError
    QByteArray SerialText() const;

    /// Adds @p serial to the release. @throws PublishError
    void SetSerial(quint64 serial);

    /// Moves the release into the site: the serial, the packages, then the manifests of single
    /// versions, then "manifest.xml". In this order no manifest ever names a package that is
    /// missing, and no serial is used twice, whether a run fails or is killed.
    /// @throws PublishError; the changes are then taken back (`FileChanges`), but not the serial:
    /// clients may have seen it.
    void Publish();

private:
    void MakeStaging() const;
    void PublishSerial() const;
    QString Staged(const QString &relative) const;
    QString Published(const QString &relative) const;

    QString m_folder;
    QString m_staging;
    QLockFile m_lock;
    /// New files, relative to the site, in the order of their publication.
    QStringList m_packages;
    QStringList m_manifests;
    bool m_hasNewSerial = false;
};
