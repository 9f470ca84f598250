// SPDX-License-Identifier: MIT

#include "tools/quillon-publish/Signer.h"

#include "tools/quillon-publish/Console.h"
#include "tools/quillon-publish/ManifestWriter.h"
#include "tools/quillon-publish/PublicKeys.h"
#include "tools/quillon-publish/PublishError.h"
#include "tools/quillon-publish/SigningOptions.h"
#include "update/trust/SignedDocument.h"

#include <QDateTime>
#include <QDir>
#include <QFile>

namespace
{
/// The paths in @p folder to which @p documents were written. They are numbered: what a version is
/// called does not matter to the program.
QStringList gWriteNumbered(const QList<QByteArray> &documents, const QString &folder)
{
    QStringList paths;
    for (const QByteArray &document : documents) {
        QFile file(QStringLiteral("%1/%2.xml").arg(folder).arg(paths.size()));
        const bool written =
            file.open(QIODevice::WriteOnly) && file.write(document) == document.size();
        file.close();
        if (!written || file.error() != QFileDevice::NoError) {
            throw PublishError(
                QStringLiteral("cannot write %1: %2").arg(file.fileName(), file.errorString()));
        }
        paths.append(file.fileName());
    }
    return paths;
}

/// A second signature in a document, in its release notes, would make it unreadable.
void gRefuseSignatureIn(const QByteArray &document)
{
    if (gWithoutSignature(document).size() != document.size()) {
        throw PublishError(
            QStringLiteral("\"<!--minisign\" stands in a manifest before it is signed; "
                           "remove it from the release notes"));
    }
}

/// @p document with the signature that was written for the file @p path.
QByteArray gWithSignatureBeside(const QByteArray &document, const QString &path)
{
    QFile file(path + QLatin1String(".minisig"));
    if (!file.open(QIODevice::ReadOnly)) {
        throw PublishError(QStringLiteral("minisign left no signature, %1: %2")
                               .arg(file.fileName(), file.errorString()));
    }
    // On Windows the program ends lines as files do there.
    const QByteArray signature = file.readAll().replace("\r\n", "\n");
    QByteArray whole = gWithSignature(document, signature);
    gRefuseManifestSize(whole.size());
    return whole;
}

/// @param ofAnotherKey the error when the signature is of none of the keys
TrustedManifest gVerified(const QByteArray &document, const QList<MinisignKey> &keys,
                          const QString &name, const QString &ofAnotherKey)
{
    QString refusal;
    std::optional<TrustedManifest> manifest = gReadTrustedManifest(document, keys, &refusal);
    if (manifest) {
        return *manifest;
    }
    // As the verifier calls it.
    if (refusal == QLatin1String("the key of the signature is not trusted")) {
        throw PublishError(ofAnotherKey);
    }
    throw PublishError(
        QStringLiteral("clients with the public key would refuse %1: %2").arg(name, refusal));
}
} // namespace

Signer::Signer(const SigningOptions &options)
    : m_program(options)
    , m_publicKeys(gReadPublicKeys(options))
    , m_expiresInDays(options.expiresInDays)
{
}

std::optional<QDateTime> Signer::Expiry() const
{
    if (!m_expiresInDays) {
        return std::nullopt;
    }
    // A manifest has whole seconds.
    const QDateTime now =
        QDateTime::fromSecsSinceEpoch(QDateTime::currentSecsSinceEpoch(), Qt::UTC);
    return now.addDays(*m_expiresInDays);
}

TrustedManifest Signer::Verified(const QByteArray &document, const QString &name) const
{
    return gVerified(document, m_publicKeys, name,
                     QStringLiteral("the secret key does not belong to the public key"));
}

TrustedManifest Signer::VerifiedPublished(const QByteArray &document, const QString &name) const
{
    return gVerified(document, m_publicKeys, name,
                     QStringLiteral("%1 was signed by another key; name its public key with "
                                    "--public-key too if you trust it")
                         .arg(name));
}

QList<QByteArray> Signer::Sign(const QList<QByteArray> &documents, quint64 serial,
                               const QString &scratchFolder) const
{
    for (const QByteArray &document : documents) {
        gRefuseSignatureIn(document);
    }
    const QString folder = scratchFolder + QLatin1String("/signing");
    if (!QDir().mkpath(folder)) {
        throw PublishError(QStringLiteral("cannot make the folder %1").arg(folder));
    }
    const QStringList paths = gWriteNumbered(documents, folder);
    gPrintLine(QStringLiteral("Signing %1 manifests with serial %2").arg(paths.size()).arg(serial));
    m_program.Sign(paths, QStringLiteral("serial:%1").arg(serial));
    QList<QByteArray> signedDocuments;
    for (int i = 0; i < paths.size(); ++i) {
        signedDocuments.append(gWithSignatureBeside(documents.at(i), paths.at(i)));
    }
    return signedDocuments;
}
