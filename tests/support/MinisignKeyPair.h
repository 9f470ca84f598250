// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>

/// A key pair as minisign makes them, and its signatures, each part of which a test can spoil. The program
/// itself is not needed; tst_SignedDocument_Reference compares with it where there is one.
class MinisignKeyPair
{
public:
    /// What a test changes in a signature.
    struct Spoil {
        /// "ED": the signature is that of a digest; "Ed": of the bytes themselves.
        QByteArray algorithm = "ED";
        QByteArray untrustedComment = "untrusted comment: signature from minisign secret key";
        QByteArray trustedComment = "timestamp:1767225600\tfile:manifest.xml\thashed";
        /// Stands in the file instead of the comment that was signed; null for the same.
        QByteArray shownComment;
        /// Stands in the file instead of the key's number; null for that.
        QByteArray shownId;
    };

    /// The same @p seed gives the same pair.
    explicit MinisignKeyPair(char seed);

    /// "RWQ…"
    QString PublicKey() const;

    /// The four lines of a signature file, each with its line feed.
    QByteArray SignatureFile(const QByteArray &bytes, const Spoil &spoil) const;
    QByteArray SignatureFile(const QByteArray &bytes) const
    {
        return SignatureFile(bytes, Spoil());
    }

    /// @p manifest with its signature behind it, as clients accept it.
    QByteArray Sign(const QByteArray &manifest, const Spoil &spoil) const;
    QByteArray Sign(const QByteArray &manifest) const { return Sign(manifest, Spoil()); }

private:
    QByteArray m_id;
    QByteArray m_publicKey;
    QByteArray m_secretKey;
};
