// SPDX-License-Identifier: MIT

#include "tools/quillon-publish/Renewal.h"

#include "tools/quillon-publish/Console.h"
#include "tools/quillon-publish/Options.h"
#include "tools/quillon-publish/PublishError.h"
#include "tools/quillon-publish/SignedElement.h"
#include "tools/quillon-publish/Site.h"
#include "tools/quillon-publish/SiteSerial.h"
#include "update/trust/SignedDocument.h"

Renewal::Renewal(const Options &options)
    : m_options(options)
    , m_signer(options.signing)
{
}

void Renewal::Publish()
{
    Site site(m_options.site);
    ReadManifests(site);
    RefuseMixture();
    RefuseOlderPublication(site);
    const SigningTerm term{gNextSerial(site, m_signer), m_signer.Expiry()};
    RefuseEarlierEnd(*term.expires);
    const QList<QByteArray> documents =
        m_signer.Sign(Renewed(term), term.serial, site.ScratchFolder());
    RefuseChanges(documents, term);
    site.SetSerial(term.serial);
    for (int i = 0; i < documents.size(); ++i) {
        site.AddManifest(m_versions.at(i), documents.at(i));
    }
    site.Publish();
    gPrintLine(QStringLiteral("Renewed %1 manifests until %2")
                   .arg(documents.size())
                   .arg(term.expires->toString(Qt::ISODate)));
}

void Renewal::ReadManifests(const Site &site)
{
    m_versions = site.ManifestVersions();
    if (!m_versions.contains(QString())) {
        throw PublishError(
            QStringLiteral("there is no manifest.xml in %1 to be renewed").arg(m_options.site));
    }
    for (const QString &version : qAsConst(m_versions)) {
        const QByteArray document = site.PublishedManifest(version);
        const QString name = Site::ManifestName(version);
        m_values.append(m_signer.VerifiedPublished(document, name).values);
        m_documents.append(gWithoutSignature(document));
        if (m_values.last().statement->forVersion != version) {
            throw PublishError(QStringLiteral("%1 was signed for clients of the version '%2'")
                                   .arg(name, m_values.last().statement->forVersion));
        }
    }
}

void Renewal::RefuseMixture() const
{
    for (int i = 1; i < m_values.size(); ++i) {
        const quint64 first = m_values.first().statement->serial;
        const quint64 serial = m_values.at(i).statement->serial;
        if (serial != first) {
            throw PublishError(
                QStringLiteral("the manifests are of several publications: %1 has the serial %2, "
                               "%3 has %4; publish the release again")
                    .arg(Site::ManifestName(m_versions.first()))
                    .arg(first)
                    .arg(Site::ManifestName(m_versions.at(i)))
                    .arg(serial));
        }
    }
}

void Renewal::RefuseOlderPublication(const Site &site) const
{
    const quint64 serial = m_values.first().statement->serial;
    const std::optional<quint64> last = gLastSerial(site);
    if (!last) {
        throw PublishError(
            QStringLiteral("the site's file \"serial\" is missing, so nothing tells whether the "
                           "manifests are of the last publication; write the number of the last "
                           "publication into it, with a line feed behind it"));
    }
    if (*last != serial) {
        throw PublishError(QStringLiteral("the manifests have the serial %1, and the last "
                                          "publication had %2; publish the release again")
                               .arg(serial)
                               .arg(*last));
    }
}

void Renewal::RefuseEarlierEnd(const QDateTime &expires) const
{
    for (int i = 0; i < m_values.size(); ++i) {
        const std::optional<QDateTime> old = m_values.at(i).statement->expires;
        const QString name = Site::ManifestName(m_versions.at(i));
        if (!old) {
            throw PublishError(
                QStringLiteral("%1 does not expire, so there is nothing to renew; publish the "
                               "release again with --expires to change that")
                    .arg(name));
        }
        if (*old >= expires) {
            throw PublishError(QStringLiteral("%1 expires at %2, and a renewal has to end later")
                                   .arg(name, old->toString(Qt::ISODate)));
        }
    }
}

QList<QByteArray> Renewal::Renewed(const SigningTerm &term) const
{
    QList<QByteArray> renewed;
    for (int i = 0; i < m_documents.size(); ++i) {
        renewed.append(gWithTerm(m_documents.at(i), term));
        if (renewed.last().isEmpty()) {
            throw PublishError(QStringLiteral("%1 was not written by quillon-publish")
                                   .arg(Site::ManifestName(m_versions.at(i))));
        }
    }
    return renewed;
}

void Renewal::RefuseChanges(const QList<QByteArray> &documents, const SigningTerm &term) const
{
    for (int i = 0; i < documents.size(); ++i) {
        const QString name = Site::ManifestName(m_versions.at(i));
        const ManifestValues values = m_signer.Verified(documents.at(i), name).values;
        if (!gIsSameOffer(values, m_values.at(i)) || values.statement->serial != term.serial ||
            values.statement->expires != term.expires) {
            throw PublishError(QStringLiteral("%1 would not be renewed as it is meant").arg(name));
        }
    }
}
