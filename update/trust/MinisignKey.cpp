// SPDX-License-Identifier: MIT

#include "update/trust/MinisignKey.h"

#include "api/Log.h"
#include "update/trust/Base64Bytes.h"

#include <sodium.h>

namespace
{
// The layout is that of minisign, https://jedisct1.github.io/minisign/#public-key-format
constexpr char algorithm[] = "Ed";
constexpr int algorithmSize = 2;
constexpr int idSize = 8;
constexpr int keySize = crypto_sign_PUBLICKEYBYTES;
} // namespace

std::optional<MinisignKey> gReadMinisignKey(const QString &text)
{
    const QByteArray bytes = gFromBase64(text.toLatin1(), algorithmSize + idSize + keySize);
    if (!bytes.startsWith(algorithm)) {
        return std::nullopt;
    }
    return MinisignKey{bytes.mid(algorithmSize, idSize), bytes.right(keySize)};
}

QList<MinisignKey> gReadMinisignKeys(const QStringList &texts)
{
    QList<MinisignKey> keys;
    for (const QString &text : texts) {
        if (const auto key = gReadMinisignKey(text)) {
            keys.append(*key);
        } else {
            QUILLON_LOG("LiveUpdateMgr", "UpdateTrust::SetPublicKeys",
                        "not trusted, no minisign public key: %s", text.toStdString().c_str());
        }
    }
    return keys;
}
