// SPDX-License-Identifier: MIT

#include "tools/quillon-publish/Release.h"

#include "api/FileDigest.h"
#include "tools/quillon-publish/Console.h"
#include "tools/quillon-publish/ManifestWriter.h"
#include "tools/quillon-publish/NotesReader.h"
#include "tools/quillon-publish/Options.h"
#include "tools/quillon-publish/PackageNames.h"
#include "tools/quillon-publish/PatchMaker.h"
#include "tools/quillon-publish/PublishError.h"
#include "tools/quillon-publish/Site.h"
#include "tools/quillon-publish/SiteSerial.h"
#include "update/trust/Sha256.h"

#include <QElapsedTimer>
#include <QFile>

namespace
{
std::optional<Signer> gSigner(const SigningOptions &options)
{
    return options.IsSigned() ? std::make_optional<Signer>(options) : std::nullopt;
}
} // namespace

Release::Release(const Options &options)
    : m_options(options)
    , m_signer(gSigner(options.signing))
    , m_notes(gReadNotes(options.notes))
    , m_installer(Installer::ReadNew(options.installer, options.productVersion))
    , m_previous(Installer::ReadPrevious(options.previous, options.productVersion))
{
}

void Release::Publish()
{
    QElapsedTimer clock;
    clock.start();
    Site site(m_options.site);
    const quint64 serial = SerialFor(site);
    AddInstaller(site);
    AddPatches(site);
    AddManifests(site, serial);
    site.Publish();
    gPrintLine(QStringLiteral("Published %1 in %2")
                   .arg(m_installer.version, gSecondsText(clock.elapsed())));
}

void Release::AddInstaller(Site &site)
{
    gPrintLine(
        QStringLiteral("Installer %1: %2").arg(m_installer.name, gBytesText(m_installer.size)));
    const QString staged = site.StagedPackage(m_installer.name);
    QFile file(m_installer.path);
    if (!file.copy(staged)) {
        throw PublishError(
            QStringLiteral("cannot copy %1: %2").arg(m_installer.path, file.errorString()));
    }
    if (FileMd5Hex(staged) != m_installer.md5) {
        throw PublishError(QStringLiteral("%1 has changed meanwhile").arg(m_installer.path));
    }
    m_installer.path = staged;
    m_full = FileOf(staged, m_installer.size);
    site.AddPackage(m_installer.name);
    // Clients recognise an interrupted download by its size alone.
    const QString twin = site.OtherPackageOfSize(m_installer.size, m_installer.name);
    if (!twin.isEmpty()) {
        gPrintError(
            QStringLiteral("warning: %1 has exactly the size of %2; a client whose download "
                           "of that was cut off would continue it with the new one and get "
                           "a mix of both")
                .arg(m_installer.name, twin));
    }
}

void Release::AddPatches(Site &site)
{
    const PatchMaker maker(m_options.bsdiff, m_options.bspatch, site.ScratchFolder());
    for (const Installer &previous : qAsConst(m_previous)) {
        const QString name = gPatchName(m_installer.name, previous.version, m_installer.version);
        const QString staged = site.StagedPackage(name);
        m_patches.append(FileOf(staged, maker.Make(previous, m_installer, staged)));
        site.AddPackage(name);
    }
}

quint64 Release::SerialFor(const Site &site) const
{
    if (m_signer) {
        if (!m_signer->Expiry() && gHasExpiry(site)) {
            gPrintError(QStringLiteral("warning: the manifests did expire, and will not any more; "
                                       "give --expires to keep that"));
        }
        return gNextSerial(site, *m_signer);
    }
    if (!m_options.noSign && gWasSigned(site)) {
        throw PublishError(
            QStringLiteral("the site %1 is signed: sign this release too, with --sign-key, or "
                           "publish it unsigned with --no-sign; clients that have keys would "
                           "refuse it then")
                .arg(m_options.site));
    }
    return 0;
}

void Release::AddManifests(Site &site, quint64 serial) const
{
    QList<Manifest> manifests = Manifests(site);
    if (m_signer) {
        const SigningTerm term{serial, m_signer->Expiry()};
        for (Manifest &manifest : manifests) {
            manifest.term = term;
        }
        site.SetSerial(serial);
    }
    QList<QByteArray> documents;
    for (const Manifest &manifest : qAsConst(manifests)) {
        documents.append(gWriteManifest(manifest));
    }
    if (m_signer) {
        documents = Signed(documents, manifests, site);
    }
    for (int i = 0; i < manifests.size(); ++i) {
        site.AddManifest(manifests.at(i).forVersion, documents.at(i));
    }
}

QList<Manifest> Release::Manifests(const Site &site) const
{
    QList<Manifest> manifests;
    QStringList versions{QString(), m_installer.version};
    for (int i = 0; i < m_previous.size(); ++i) {
        manifests.append(PatchManifest(i));
        versions.append(m_previous.at(i).version);
    }
    // Clients do not compare versions: any manifest with an address is an update to them. So
    // clients of this version get a manifest without one.
    Manifest none;
    none.forVersion = m_installer.version;
    manifests.append(none);
    // The manifests that the site has for other versions name an older release.
    for (const QString &version : site.ManifestVersions()) {
        if (!versions.contains(version)) {
            manifests.append(FullManifest(version));
        }
    }
    manifests.append(FullManifest(QString()));
    return manifests;
}

Manifest Release::PatchManifest(int previousIndex) const
{
    const Installer &previous = m_previous.at(previousIndex);
    Manifest manifest = FullManifest(previous.version);
    manifest.oldMd5 = previous.md5;
    manifest.patchUrl =
        Address(gPatchName(m_installer.name, previous.version, m_installer.version));
    manifest.patchFile = m_patches.at(previousIndex);
    manifest.patchSize = manifest.patchFile->size;
    manifest.autoNotify = m_options.autoNotify;
    return manifest;
}

QList<QByteArray> Release::Signed(const QList<QByteArray> &documents,
                                  const QList<Manifest> &manifests, const Site &site) const
{
    const quint64 serial = manifests.first().term->serial;
    QList<QByteArray> signedDocuments = m_signer->Sign(documents, serial, site.ScratchFolder());
    for (int i = 0; i < manifests.size(); ++i) {
        const QByteArray &document = signedDocuments.at(i);
        const QString name = Site::ManifestName(manifests.at(i).forVersion);
        gCheckSignedManifest(document, m_signer->Verified(document, name).values, manifests.at(i));
    }
    return signedDocuments;
}

QString Release::Address(const QString &packageName) const
{
    return m_options.baseUrl + QLatin1String("/packages/") + packageName;
}

SignedFile Release::FileOf(const QString &path, qint64 size) const
{
    const QString sha256 = m_signer ? gFileSha256(path) : QString();
    if (m_signer && sha256.isEmpty()) {
        throw PublishError(QStringLiteral("cannot read %1").arg(path));
    }
    return {sha256, size};
}

Manifest Release::FullManifest(const QString &forVersion) const
{
    Manifest manifest;
    manifest.forVersion = forVersion;
    manifest.fullFile = m_full;
    manifest.exeUrl = Address(m_installer.name);
    manifest.md5 = m_installer.md5;
    manifest.version = m_installer.version;
    manifest.notes = m_notes;
    return manifest;
}
