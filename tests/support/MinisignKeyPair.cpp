// SPDX-License-Identifier: MIT

#include "tests/support/MinisignKeyPair.h"

#include <sodium.h>

#include <array>

namespace
{
using Signature = std::array<unsigned char, crypto_sign_BYTES>;

const unsigned char *gUnsigned(const QByteArray &bytes)
{
    return reinterpret_cast<const unsigned char *>(bytes.constData());
}

QByteArray gSign(const QByteArray &bytes, const QByteArray &secretKey)
{
    QByteArray signature(crypto_sign_BYTES, '\0');
    crypto_sign_detached(reinterpret_cast<unsigned char *>(signature.data()), nullptr,
                         gUnsigned(bytes), static_cast<unsigned long long>(bytes.size()),
                         gUnsigned(secretKey));
    return signature;
}

QByteArray gDigest(const QByteArray &bytes)
{
    QByteArray digest(crypto_generichash_BYTES_MAX, '\0');
    crypto_generichash(reinterpret_cast<unsigned char *>(digest.data()),
                       static_cast<std::size_t>(digest.size()), gUnsigned(bytes),
                       static_cast<unsigned long long>(bytes.size()), nullptr, 0);
    return digest;
}
} // namespace

MinisignKeyPair::MinisignKeyPair(char seed)
    : m_id(8, seed)
    , m_publicKey(crypto_sign_PUBLICKEYBYTES, '\0')
    , m_secretKey(crypto_sign_SECRETKEYBYTES, '\0')
{
    if (sodium_init() < 0) {
        qFatal("libsodium cannot be used.");
    }
    const QByteArray seedBytes(crypto_sign_SEEDBYTES, seed);
    crypto_sign_seed_keypair(reinterpret_cast<unsigned char *>(m_publicKey.data()),
                             reinterpret_cast<unsigned char *>(m_secretKey.data()),
                             gUnsigned(seedBytes));
}

QString MinisignKeyPair::PublicKey() const
{
    return QString::fromLatin1(("Ed" + m_id + m_publicKey).toBase64());
}

QByteArray MinisignKeyPair::SignatureFile(const QByteArray &bytes, const Spoil &spoil) const
{
    const QByteArray signature =
        gSign(spoil.algorithm == "Ed" ? bytes : gDigest(bytes), m_secretKey);
    const QByteArray ofComment = gSign(signature + spoil.trustedComment, m_secretKey);
    const QByteArray id = spoil.shownId.isNull() ? m_id : spoil.shownId;
    const QByteArray comment =
        spoil.shownComment.isNull() ? spoil.trustedComment : spoil.shownComment;
    return spoil.untrustedComment + '\n' + (spoil.algorithm + id + signature).toBase64() +
           "\ntrusted comment: " + comment + '\n' + ofComment.toBase64() + '\n';
}

QByteArray MinisignKeyPair::Sign(const QByteArray &manifest, const Spoil &spoil) const
{
    return manifest + "<!--minisign\n" + SignatureFile(manifest, spoil) + "-->\n";
}
