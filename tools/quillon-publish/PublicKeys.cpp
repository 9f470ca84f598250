// SPDX-License-Identifier: MIT

#include "tools/quillon-publish/PublicKeys.h"

#include "tools/quillon-publish/PublishError.h"
#include "tools/quillon-publish/SigningOptions.h"

#include <QFile>
#include <QFileInfo>

namespace
{
/// A public key's file has two lines, and the key is the second one.
std::optional<MinisignKey> gReadKeyFile(const QString &path)
{
    constexpr int lineCount = 2;
    constexpr qint64 longestLine = 1024;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    QByteArray line;
    for (int i = 0; i < lineCount; ++i) {
        line = file.readLine(longestLine);
    }
    return gReadMinisignKey(QString::fromLatin1(line.trimmed()));
}

QString gFileBeside(const QString &secretKey)
{
    const QFileInfo info(secretKey);
    return info.path() + QLatin1Char('/') + info.completeBaseName() + QLatin1String(".pub");
}

MinisignKey gReadPublicKey(const QString &keyOrFile)
{
    std::optional<MinisignKey> key = gReadMinisignKey(keyOrFile);
    if (!key) {
        key = gReadKeyFile(keyOrFile);
    }
    if (!key) {
        throw PublishError(
            QStringLiteral("neither a public key of minisign nor a file with one: %1")
                .arg(keyOrFile));
    }
    return *key;
}
} // namespace

QList<MinisignKey> gReadPublicKeys(const SigningOptions &options)
{
    if (options.publicKeys.isEmpty()) {
        const QString beside = gFileBeside(options.secretKey);
        if (!QFileInfo::exists(beside)) {
            throw PublishError(
                QStringLiteral("there is no public key beside the secret one, in %1: "
                               "name one with --public-key, or make the file anew: "
                               "minisign -R -s %2 -p %1")
                    .arg(beside, options.secretKey));
        }
        return {gReadPublicKey(beside)};
    }
    QList<MinisignKey> keys;
    for (const QString &keyOrFile : options.publicKeys) {
        keys.append(gReadPublicKey(keyOrFile));
    }
    return keys;
}
