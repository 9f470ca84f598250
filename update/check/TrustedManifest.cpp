// SPDX-License-Identifier: MIT

#include "update/check/TrustedManifest.h"

#include "update/trust/SignedDocument.h"

namespace
{
/// Whether the manifest offers exactly what its statement names.
bool gAgree(const ManifestValues &values, const SignedStatement &statement, QString *refusal)
{
    const bool hasPatch = values.increasePackage && !values.increasePackage->url.isEmpty();
    if (values.exeUrl.isEmpty() == statement.full.has_value()) {
        *refusal = QStringLiteral("the full package is offered or signed, and not both");
        return false;
    }
    if (hasPatch != statement.patch.has_value()) {
        *refusal = QStringLiteral("the incremental package is offered or signed, and not both");
        return false;
    }
    return true;
}
} // namespace

std::optional<TrustedManifest>
gReadTrustedManifest(const QByteArray &answer, const QList<MinisignKey> &keys, QString *refusal)
{
    const std::optional<QByteArray> document = gVerifyDocument(answer, keys, refusal);
    if (!document) {
        return std::nullopt;
    }
    const std::optional<SignedStatement> statement = gReadSignedStatement(*document, refusal);
    if (!statement) {
        return std::nullopt;
    }
    TrustedManifest manifest{QString::fromUtf8(*document), {}};
    manifest.values = gReadManifest(manifest.xml);
    if (!gAgree(manifest.values, *statement, refusal)) {
        return std::nullopt;
    }
    manifest.values.statement = statement;
    return manifest;
}
