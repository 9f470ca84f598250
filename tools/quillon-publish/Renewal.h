// SPDX-License-Identifier: MIT

#pragma once

#include "tools/quillon-publish/Signer.h"

#include <QList>
#include <QStringList>

struct Options;
class Site;

/// Signs the manifests of a site anew: the same offers, the next serial, a later end.
///
/// Only what the public keys verify is signed again, and only manifests of one publication, the last
/// one by the site's file of the serial: who can write into the site must not get a signature for
/// their own manifest. An older release with its own file of the serial cannot be recognised.
///
/// Errors: the constructor and `Publish` throw PublishError; the site is then unchanged
/// but for a serial that may be used up.
class Renewal
{
public:
    explicit Renewal(const Options &options);

    void Publish();

private:
    void ReadManifests(const Site &site);
    void RefuseMixture() const;
    void RefuseOlderPublication(const Site &site) const;
    void RefuseEarlierEnd(const QDateTime &expires) const;
    QList<QByteArray> Renewed(const SigningTerm &term) const;
    void RefuseChanges(const QList<QByteArray> &documents, const SigningTerm &term) const;

    const Options &m_options;
    Signer m_signer;
    /// "manifest.xml" has the empty version.
    QStringList m_versions;
    /// By the order of the versions: the signed bytes, and what they say.
    QList<QByteArray> m_documents;
    QList<ManifestValues> m_values;
};
