// SPDX-License-Identifier: MIT

#include "tools/quillon-publish/Installer.h"

#include "api/FileDigest.h"
#include "platform/FileVersion.h"
#include "tools/quillon-publish/Console.h"
#include "tools/quillon-publish/PackageNames.h"
#include "tools/quillon-publish/PublishError.h"

#include <QFileInfo>

namespace
{
constexpr qint64 sizeLimit = Q_INT64_C(2) * 1024 * 1024 * 1024;

void gRefuseUnlessReadable(const QFileInfo &file)
{
    if (!file.isFile() || !file.isReadable()) {
        throw PublishError(QStringLiteral("cannot read %1").arg(file.filePath()));
    }
}

void gRefuseSize(const QFileInfo &file)
{
    if (file.size() == 0) {
        throw PublishError(QStringLiteral("%1 is empty").arg(file.filePath()));
    }
    if (file.size() >= sizeLimit) {
        throw PublishError(
            QStringLiteral("%1 has %2, and a package has to be smaller than 2 GiB: clients keep "
                           "the state of a download in 32-bit numbers and could not complete it")
                .arg(file.filePath(), gBytesText(file.size())));
    }
}

Installer gReadInstaller(const QFileInfo &file)
{
    Installer installer;
    installer.path = file.absoluteFilePath();
    installer.name = file.fileName();
    installer.version = FileVersionString(installer.path).trimmed();
    installer.size = file.size();
    if (installer.version.isEmpty()) {
        throw PublishError(QStringLiteral("%1 carries no version").arg(file.filePath()));
    }
    return installer;
}

void gAddDigest(Installer &installer)
{
    installer.md5 = FileMd5Hex(installer.path);
    if (installer.md5.isEmpty()) {
        throw PublishError(QStringLiteral("cannot read %1").arg(installer.path));
    }
}
} // namespace

Installer Installer::ReadNew(const QString &path, const QString &version)
{
    const QFileInfo file(path);
    gRefuseUnlessReadable(file);
    gRefuseSize(file);
    if (!gIsSafePackageName(file.fileName())) {
        throw PublishError(QStringLiteral("'%1' cannot be a package's name: use letters, digits, "
                                          "\".\", \"-\" and \"_\" only, clients keep it as it "
                                          "stands in the address")
                               .arg(file.fileName()));
    }
    Installer installer = gReadInstaller(file);
    if (installer.version != version) {
        throw PublishError(QStringLiteral("%1 carries the version %2 and not %3")
                               .arg(path, installer.version, version));
    }
    gAddDigest(installer);
    return installer;
}

QList<Installer> Installer::ReadPrevious(const QStringList &paths, const QString &newVersion)
{
    QList<Installer> installers;
    for (const QString &path : paths) {
        const QFileInfo file(path);
        gRefuseUnlessReadable(file);
        Installer installer = gReadInstaller(file);
        if (!gIsPlainVersion(installer.version)) {
            throw PublishError(QStringLiteral("%1 carries the version '%2', which cannot stand in "
                                              "an address")
                                   .arg(path, installer.version));
        }
        if (installer.version == newVersion) {
            throw PublishError(QStringLiteral("the previous installer %1 carries the new version "
                                              "%2")
                                   .arg(path, newVersion));
        }
        for (const Installer &other : qAsConst(installers)) {
            if (other.version == installer.version) {
                throw PublishError(QStringLiteral("two previous installers carry the version %1: "
                                                  "%2 and %3")
                                       .arg(installer.version, other.path, installer.path));
            }
        }
        gAddDigest(installer);
        installers.append(installer);
    }
    return installers;
}
