// SPDX-License-Identifier: MIT

#include "update/trust/SignedDocument.h"

#include "update/trust/Base64Bytes.h"

#include <sodium.h>

#include <algorithm>
#include <array>

namespace
{
const QByteArray marker = QByteArrayLiteral("<!--minisign");
const QByteArray opening = marker + '\n';
const QByteArray closing = QByteArrayLiteral("\n-->");
const QByteArray untrustedPrefix = QByteArrayLiteral("untrusted comment: ");
const QByteArray trustedPrefix = QByteArrayLiteral("trusted comment: ");

// The layout is that of minisign, https://jedisct1.github.io/minisign/#signature-format
const QByteArray prehashed = QByteArrayLiteral("ED");
const QByteArray legacy = QByteArrayLiteral("Ed");
constexpr int algorithmSize = 2;
constexpr int idSize = 8;
constexpr int signatureSize = crypto_sign_BYTES;

/// The parts of a signature file.
struct Signature {
    QByteArray algorithm;
    QByteArray keyId;
    QByteArray ofDigest;
    QByteArray trustedComment;
    QByteArray ofComment;
};

const unsigned char *gUnsigned(const QByteArray &bytes)
{
    return reinterpret_cast<const unsigned char *>(bytes.constData());
}

/// The four lines out of the comment at the end of @p document.
QList<QByteArray> gSignatureLines(const QByteArray &document, int begin, QString *refusal)
{
    QByteArray comment = document.mid(begin);
    if (comment.endsWith('\n')) {
        comment.chop(1);
    }
    if (!comment.endsWith(closing)) {
        *refusal = comment.contains("-->")
                       ? QStringLiteral("the signature is not the last thing in the document")
                       : QStringLiteral("the signature is cut off");
        return {};
    }
    // Both may share a line feed, in a comment that has no line at all.
    const int size = comment.size() - opening.size() - closing.size();
    const QByteArray inner = comment.mid(opening.size(), std::max(0, size));
    // A comment of XML ends at the first two hyphens: what follows them would be read as the document.
    if (size < 0 || !comment.startsWith(opening) || inner.contains("--")) {
        *refusal = QStringLiteral("the signature is damaged");
        return {};
    }
    return inner.split('\n');
}

std::optional<Signature> gReadSignature(const QList<QByteArray> &lines, QString *refusal)
{
    constexpr int lineCount = 4;

    if (lines.size() != lineCount || !lines[0].startsWith(untrustedPrefix) ||
        !lines[2].startsWith(trustedPrefix)) {
        *refusal = QStringLiteral("the signature is damaged");
        return std::nullopt;
    }
    const QByteArray packed = gFromBase64(lines[1], algorithmSize + idSize + signatureSize);
    const QByteArray ofComment = gFromBase64(lines[3], signatureSize);
    if (packed.isEmpty() || ofComment.isEmpty()) {
        *refusal = QStringLiteral("the signature is damaged");
        return std::nullopt;
    }
    return Signature{packed.left(algorithmSize), packed.mid(algorithmSize, idSize),
                     packed.right(signatureSize), lines[2].mid(trustedPrefix.size()), ofComment};
}

bool gIsSignedBy(const MinisignKey &key, const unsigned char *bytes, std::size_t size,
                 const QByteArray &signature)
{
    return crypto_sign_verify_detached(gUnsigned(signature), bytes, size, gUnsigned(key.key)) == 0;
}

/// The rule that @p signature of @p bytes breaks by @p key; empty when it holds.
QString gRefusalBy(const MinisignKey &key, const QByteArray &bytes, const Signature &signature)
{
    std::array<unsigned char, crypto_generichash_BYTES_MAX> digest{};
    if (crypto_generichash(digest.data(), digest.size(), gUnsigned(bytes),
                           static_cast<unsigned long long>(bytes.size()), nullptr, 0) != 0 ||
        !gIsSignedBy(key, digest.data(), digest.size(), signature.ofDigest)) {
        return QStringLiteral("the signature does not belong to the document");
    }
    const QByteArray commented = signature.ofDigest + signature.trustedComment;
    if (!gIsSignedBy(key, gUnsigned(commented), static_cast<std::size_t>(commented.size()),
                     signature.ofComment)) {
        return QStringLiteral("the trusted comment does not belong to the signature");
    }
    return {};
}

bool gIsVerifiedByAny(const QList<MinisignKey> &keys, const QByteArray &bytes,
                      const Signature &signature, QString *refusal)
{
    *refusal = QStringLiteral("the key of the signature is not trusted");
    for (const MinisignKey &key : keys) {
        if (key.id == signature.keyId) {
            *refusal = gRefusalBy(key, bytes, signature);
            if (refusal->isEmpty()) {
                return true;
            }
        }
    }
    return false;
}
} // namespace

std::optional<QByteArray> gVerifyDocument(const QByteArray &document,
                                          const QList<MinisignKey> &keys, QString *refusal)
{
    if (sodium_init() < 0) {
        *refusal = QStringLiteral("the library that verifies signatures cannot be used");
        return std::nullopt;
    }
    const int begin = document.indexOf(marker);
    if (begin < 0) {
        *refusal = QStringLiteral("the document is not signed");
        return std::nullopt;
    }
    if (document.indexOf(marker, begin + 1) >= 0) {
        *refusal = QStringLiteral("the document has more than one signature");
        return std::nullopt;
    }
    const QList<QByteArray> lines = gSignatureLines(document, begin, refusal);
    const auto signature = lines.isEmpty() ? std::nullopt : gReadSignature(lines, refusal);
    if (!signature) {
        return std::nullopt;
    }
    if (signature->algorithm != prehashed) {
        *refusal = signature->algorithm == legacy
                       ? QStringLiteral("the signature is of the legacy algorithm")
                       : QStringLiteral("the signature is of an unknown algorithm");
        return std::nullopt;
    }
    const QByteArray bytes = document.left(begin);
    if (!gIsVerifiedByAny(keys, bytes, *signature, refusal)) {
        return std::nullopt;
    }
    return bytes;
}

QByteArray gWithSignature(const QByteArray &document, const QByteArray &signatureFile)
{
    const QByteArray lines =
        signatureFile.endsWith('\n') ? signatureFile.chopped(1) : signatureFile;
    return document + opening + lines + closing + '\n';
}

QByteArray gWithoutSignature(const QByteArray &document)
{
    const int begin = document.indexOf(marker);
    return begin < 0 ? document : document.left(begin);
}
