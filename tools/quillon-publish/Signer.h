// SPDX-License-Identifier: MIT

#pragma once

#include "tools/quillon-publish/SigningProgram.h"
#include "update/check/TrustedManifest.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

struct Manifest;
struct SigningOptions;
struct SigningTerm;

/// Signs the manifests of a publication, and reads each back as clients that have the public keys
/// do.
///
/// Errors: all throw PublishError.
class Signer
{
public:
    explicit Signer(const SigningOptions &options);

    /// The end of what is signed now.
    std::optional<QDateTime> Expiry() const;

    /// The manifest in @p document, which was signed now, verified by the public keys.
    /// @param name names it in the error
    TrustedManifest Verified(const QByteArray &document, const QString &name) const;

    /// The same for one that was published before.
    TrustedManifest VerifiedPublished(const QByteArray &document, const QString &name) const;

    /// @p documents with their signatures behind them, in the same order. Whether clients accept
    /// them is for `Verified` to say.
    /// @param scratchFolder an existing folder for files that are not published
    QList<QByteArray> Sign(const QList<QByteArray> &documents, quint64 serial,
                           const QString &scratchFolder) const;

private:
    SigningProgram m_program;
    QList<MinisignKey> m_publicKeys;
    std::optional<int> m_expiresInDays;
};
