// SPDX-License-Identifier: MIT

#include "tools/quillon-publish/SiteSerial.h"

#include "tools/quillon-publish/PublishError.h"
#include "tools/quillon-publish/Site.h"
#include "update/trust/DecimalNumber.h"
#include "update/trust/SignedDocument.h"
#include "update/trust/SignedStatement.h"

#include <algorithm>

namespace
{
bool gHasSignature(const QByteArray &document)
{
    return gWithoutSignature(document).size() != document.size();
}

quint64 gSerialInFile(const QByteArray &text)
{
    const std::optional<quint64> serial =
        text.endsWith('\n') ? gReadDecimal(QString::fromLatin1(text.chopped(1))) : std::nullopt;
    if (!serial) {
        throw PublishError(
            QStringLiteral("the site's file \"serial\" is damaged: it has to be the number of the "
                           "last signed publication and a line feed"));
    }
    return *serial;
}

quint64 gSerialInManifest(const QByteArray &document, const QString &name)
{
    if (!gHasSignature(document)) {
        return 0;
    }
    QString refusal;
    const auto statement = gReadSignedStatement(gWithoutSignature(document), &refusal);
    if (!statement) {
        throw PublishError(
            QStringLiteral("the serial of %1 cannot be read: %2").arg(name, refusal));
    }
    return statement->serial;
}
} // namespace

bool gWasSigned(const Site &site)
{
    if (site.HasSerial()) {
        return true;
    }
    const QStringList versions = site.ManifestVersions();
    return std::any_of(versions.cbegin(), versions.cend(), [&site](const QString &version) {
        return gHasSignature(site.PublishedManifest(version));
    });
}

std::optional<quint64> gLastSerial(const Site &site)
{
    return site.HasSerial() ? std::make_optional(gSerialInFile(site.SerialText())) : std::nullopt;
}

quint64 gNextSerial(const Site &site)
{
    quint64 highest = gLastSerial(site).value_or(0);
    for (const QString &version : site.ManifestVersions()) {
        highest = std::max(highest, gSerialInManifest(site.PublishedManifest(version),
                                                      Site::ManifestName(version)));
    }
    if (highest >= SignedStatement::serialLimit - 1) {
        throw PublishError(QStringLiteral("no serial can follow %1").arg(highest));
    }
    return highest + 1;
}
