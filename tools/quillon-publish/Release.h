// SPDX-License-Identifier: MIT

#pragma once

#include "tools/quillon-publish/Installer.h"

#include <QByteArray>
#include <QString>

struct Manifest;
struct Options;
class Site;

/// One release that is put into the site: the installer, a patch from each previous version, and
/// the manifests that offer them.
///
/// Errors: the constructor and `Publish` throw PublishError; the site is then unchanged.
class Release
{
public:
    explicit Release(const Options &options);

    void Publish();

private:
    void AddInstaller(Site &site);
    void AddPatches(Site &site);
    void AddManifests(Site &site) const;
    QString Address(const QString &packageName) const;
    Manifest FullManifest() const;

    const Options &m_options;
    QString m_notes;
    /// The original file, and after staging the staged copy, so that the patches are made for
    /// exactly the bytes that are published.
    Installer m_installer;
    QList<Installer> m_previous;
    /// By the order of `m_previous`.
    QList<qint64> m_patchSizes;
};
