// SPDX-License-Identifier: MIT

#include "update/trust/Sha256.h"

#include <QByteArray>
#include <QFile>
#include <QRegularExpression>

#include <sodium.h>

#include <array>
#include <vector>

bool gIsSha256(const QString &text)
{
    static const QRegularExpression form(QStringLiteral("\\A[0-9a-f]{64}\\z"));
    return form.match(text).hasMatch();
}

QString gFileSha256(const QString &path)
{
    constexpr int chunk = 256 * 1024;

    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        return {};
    }
    Sha256 digest;
    std::vector<char> bytes(chunk);
    qint64 size = 0;
    while ((size = file.read(bytes.data(), chunk)) > 0) {
        digest.Add(bytes.data(), size);
    }
    return size == 0 ? digest.Hex() : QString();
}

struct Sha256::State {
    crypto_hash_sha256_state digest;
};

Sha256::Sha256()
    : m_state(std::make_unique<State>())
{
    crypto_hash_sha256_init(&m_state->digest);
}

Sha256::~Sha256() = default;

void Sha256::Add(const char *bytes, qint64 size)
{
    crypto_hash_sha256_update(&m_state->digest, reinterpret_cast<const unsigned char *>(bytes),
                              static_cast<unsigned long long>(size));
}

QString Sha256::Hex()
{
    std::array<unsigned char, crypto_hash_sha256_BYTES> digest{};
    crypto_hash_sha256_final(&m_state->digest, digest.data());
    const QByteArray bytes(reinterpret_cast<const char *>(digest.data()),
                           static_cast<int>(digest.size()));
    return QString::fromLatin1(bytes.toHex());
}
