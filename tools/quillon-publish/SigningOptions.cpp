// SPDX-License-Identifier: MIT

#include "tools/quillon-publish/SigningOptions.h"

#include "update/trust/DecimalNumber.h"

#include <QCommandLineParser>

#include <limits>

namespace
{
const QString secretKeyName = QStringLiteral("sign-key");
const QString publicKeyName = QStringLiteral("public-key");
const QString expiresName = QStringLiteral("expires");
const QString minisignName = QStringLiteral("minisign");
const QString descriptorName = QStringLiteral("sign-password-fd");

constexpr int mostDays = 3650;

/// What the value of the option @p name is as a number from @p least to @p most.
std::optional<int> gNumber(const QCommandLineParser &parser, const QString &name, int least,
                           int most, QString *error)
{
    if (!parser.isSet(name)) {
        return std::nullopt;
    }
    const std::optional<quint64> number = gReadDecimal(parser.value(name));
    if (!number || *number < static_cast<quint64>(least) || *number > static_cast<quint64>(most)) {
        *error =
            QStringLiteral("--%1 has to be a number from %2 to %3").arg(name).arg(least).arg(most);
        return std::nullopt;
    }
    return static_cast<int>(*number);
}

QString gUsageError(const QCommandLineParser &parser)
{
    for (const QString &name : {secretKeyName, expiresName, minisignName, descriptorName}) {
        if (parser.values(name).size() > 1) {
            return QStringLiteral("--%1 is given twice").arg(name);
        }
    }
    if (parser.isSet(secretKeyName)) {
        return parser.value(secretKeyName).isEmpty() ? QStringLiteral("--sign-key names no file")
                                                     : QString();
    }
    for (const QString &name : {publicKeyName, expiresName, minisignName, descriptorName}) {
        if (parser.isSet(name)) {
            return QStringLiteral("--%1 needs --sign-key").arg(name);
        }
    }
    return {};
}
} // namespace

void SigningOptions::AddTo(QCommandLineParser &parser)
{
    const QString file = QStringLiteral("FILE");
    const QString number = QStringLiteral("N");
    parser.addOptions({
        {secretKeyName, QStringLiteral("Sign every manifest with this secret key of minisign."),
         file},
        {publicKeyName,
         QStringLiteral("A public key of the clients, as text or as a file; they verify what was "
                        "signed. Repeat for more. Default: the secret key's file with the suffix "
                        "\".pub\"."),
         QStringLiteral("KEY")},
        {expiresName, QStringLiteral("Clients refuse the signed manifests after that many days."),
         QStringLiteral("DAYS")},
        {minisignName, QStringLiteral("The program that signs. Default: minisign in PATH."),
         QStringLiteral("PROGRAM")},
        {descriptorName,
         QStringLiteral("Read the secret key's password from this descriptor, its first line. "
                        "Default: the program asks for it."),
         number},
    });
}

SigningOptions SigningOptions::Read(const QCommandLineParser &parser, QString *error)
{
    SigningOptions options;
    options.secretKey = parser.value(secretKeyName);
    options.publicKeys = parser.values(publicKeyName);
    options.minisign =
        parser.isSet(minisignName) ? parser.value(minisignName) : QStringLiteral("minisign");
    options.expiresInDays = gNumber(parser, expiresName, 1, mostDays, error);
    options.passwordDescriptor =
        gNumber(parser, descriptorName, 0, std::numeric_limits<int>::max(), error);
    const QString usageError = gUsageError(parser);
    if (!usageError.isEmpty()) {
        *error = usageError;
    }
    return options;
}
