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

/// Above it a serial was not counted up to. It leaves room for every publication of a site to come.
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
    return gPlausible(
        statement->serial, name,
        QStringLiteral("remove this file, and see that \"serial\" has the right number"));
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

quint64 gNextSerial(const Site &site)
{
    quint64 highest = gLastSerial(site).value_or(0);
    for (const QString &version : site.ManifestVersions()) {
        highest = std::max(highest, gSerialInManifest(site.PublishedManifest(version),
                                                      Site::ManifestName(version)));
    }
    return highest + 1;
}
