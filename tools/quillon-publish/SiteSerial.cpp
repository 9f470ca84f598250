// SPDX-License-Identifier: MIT

#include "tools/quillon-publish/SiteSerial.h"

#include "tools/quillon-publish/PublishError.h"
#include "tools/quillon-publish/Signer.h"
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

/// No site counts up to more. Clients never go back, so a number near the end of the 64 bits would
/// leave none for later publications. A wrong number below it is not recognised by its size.
constexpr quint64 highestSerial = Q_UINT64_C(1000000000000000);

/// @param source is where @p serial stands, and @p remedy what is to be done there
quint64 gPlausible(quint64 serial, const QString &source, const QString &remedy)
{
    if (serial > highestSerial) {
        throw PublishError(QStringLiteral("%1 has the serial %2, which is above %3: somebody may "
                                          "have put it there; %4")
                               .arg(source)
                               .arg(serial)
                               .arg(highestSerial)
                               .arg(remedy));
    }
    return serial;
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
    return gPlausible(*serial, QStringLiteral("the site's file \"serial\""),
                      QStringLiteral("write the right number into it"));
}

/// A manifest can say any number when nobody verifies it, so it is only compared with @p last. That
/// is published before every manifest: a manifest of the site never has a higher one.
void gRefuseSerialAbove(quint64 last, const QByteArray &document, const QString &name)
{
    QString refusal;
    const auto statement = gReadSignedStatement(gWithoutSignature(document), &refusal);
    if (!statement) {
        throw PublishError(
            QStringLiteral("the serial of %1 cannot be read: %2").arg(name, refusal));
    }
    if (statement->serial > last) {
        throw PublishError(
            QStringLiteral("%1 has the serial %2, and the site's file \"serial\" has %3, which no "
                           "manifest is above: somebody may have put it there; remove this file, "
                           "and see that \"serial\" has the number of the last publication")
                .arg(name)
                .arg(statement->serial)
                .arg(last));
    }
}

/// For a site without the file of the serial: a manifest that @p signer does not verify counts for
/// nothing, and may stand in the place of one that did.
quint64 gVerifiedSerial(const QByteArray &document, const QString &name, const Signer &signer)
{
    try {
        return signer.VerifiedPublished(document, name).values.statement->serial;
    } catch (const PublishError &error) {
        throw PublishError(
            QStringLiteral("%1; the site has no file \"serial\", so its manifests have to tell the "
                           "last number: if you know it, write it and a line feed into that file")
                .arg(error.Message()));
    }
}

/// The highest serial that @p site was published with.
quint64 gLastPublished(const Site &site, const Signer &signer)
{
    const std::optional<quint64> last = gLastSerial(site);
    quint64 highest = last.value_or(0);
    for (const QString &version : site.ManifestVersions()) {
        const QByteArray document = site.PublishedManifest(version);
        const QString name = Site::ManifestName(version);
        if (!gHasSignature(document)) {
            continue;
        }
        if (last) {
            gRefuseSerialAbove(*last, document, name);
        } else {
            const quint64 serial = gVerifiedSerial(document, name, signer);
            highest =
                std::max(highest, gPlausible(serial, name, QStringLiteral("remove this file")));
        }
    }
    return highest;
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

bool gHasExpiry(const Site &site)
{
    if (!site.ManifestVersions().contains(QString())) {
        return false;
    }
    const QByteArray document = site.PublishedManifest(QString());
    QString refusal;
    const auto statement = gReadSignedStatement(gWithoutSignature(document), &refusal);
    return gHasSignature(document) && statement && statement->expires;
}

std::optional<quint64> gLastSerial(const Site &site)
{
    return site.HasSerial() ? std::make_optional(gSerialInFile(site.SerialText())) : std::nullopt;
}

quint64 gNextSerial(const Site &site, const Signer &signer)
{
    const quint64 highest = gLastPublished(site, signer);
    if (highest == highestSerial) {
        throw PublishError(
            QStringLiteral("the last publication has the serial %1, and none is signed above it: "
                           "somebody may have put it there; write the right number into the "
                           "site's file \"serial\"")
                .arg(highest));
    }
    return highest + 1;
}
