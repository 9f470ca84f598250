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

#include <QElapsedTimer>
#include <QFile>

Release::Release(const Options &options)
    : m_options(options)
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
    AddInstaller(site);
    AddPatches(site);
    AddManifests(site);
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
        m_patchSizes.append(maker.Make(previous, m_installer, site.StagedPackage(name)));
        site.AddPackage(name);
    }
}

void Release::AddManifests(Site &site) const
{
    for (int i = 0; i < m_previous.size(); ++i) {
        const Installer &previous = m_previous.at(i);
        Manifest manifest = FullManifest();
        manifest.oldMd5 = previous.md5;
        manifest.patchUrl =
            Address(gPatchName(m_installer.name, previous.version, m_installer.version));
        manifest.patchSize = m_patchSizes.at(i);
        manifest.autoNotify = m_options.autoNotify;
        site.AddManifest(previous.version, gWriteManifest(manifest));
    }
    // Clients do not compare versions: any manifest with an address is an update to them. So
    // clients of this version get a manifest without one.
    site.AddManifest(m_installer.version, gWriteManifest(Manifest{}));
    site.SetMainManifest(gWriteManifest(FullManifest()));
}

QString Release::Address(const QString &packageName) const
{
    return m_options.baseUrl + QLatin1String("/packages/") + packageName;
}

Manifest Release::FullManifest() const
{
    Manifest manifest;
    manifest.exeUrl = Address(m_installer.name);
    manifest.md5 = m_installer.md5;
    manifest.version = m_installer.version;
    manifest.notes = m_notes;
    return manifest;
}
