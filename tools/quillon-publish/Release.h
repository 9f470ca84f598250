// SPDX-License-Identifier: MIT

#pragma once

#include "tools/quillon-publish/Installer.h"
#include "tools/quillon-publish/Signer.h"
#include "update/trust/SignedStatement.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

struct Manifest;
struct Options;
class Site;

/// One release that is put into the site: the installer, a patch from each previous version, and
/// the manifests that offer them.
///
/// Errors: the constructor and `Publish` throw PublishError; the site is then unchanged
/// but for a serial that may be used up.
class Release
{
public:
    explicit Release(const Options &options);

    void Publish();

private:
    void AddInstaller(Site &site);
    void AddPatches(Site &site);
    /// The serial of this publication; 0 for an unsigned one, which a site that was signed refuses.
    quint64 SerialFor(const Site &site) const;
    void AddManifests(Site &site, quint64 serial) const;
    /// All manifests of the release, that for all other clients last.
    QList<Manifest> Manifests(const Site &site) const;
    Manifest PatchManifest(int previousIndex) const;
    QList<QByteArray> Signed(const QList<QByteArray> &documents, const QList<Manifest> &manifests,
                             const Site &site) const;
    /// What is to be signed of a package.
    SignedFile FileOf(const QString &path, qint64 size) const;
    QString Address(const QString &packageName) const;
    Manifest FullManifest(const QString &forVersion) const;

    const Options &m_options;
    /// None: the manifests are not signed.
    std::optional<Signer> m_signer;
    QString m_notes;
    /// The original file, and after staging the staged copy, so that the patches are made for
    /// exactly the bytes that are published.
    Installer m_installer;
    QList<Installer> m_previous;
    /// The packages; their digests are only computed to be signed. The patches are by the order of
    /// `m_previous`.
    SignedFile m_full;
    QList<SignedFile> m_patches;
};
