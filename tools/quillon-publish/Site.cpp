// SPDX-License-Identifier: MIT

#include "tools/quillon-publish/Site.h"

#include "api/FileDigest.h"
#include "tools/quillon-publish/FileChanges.h"
#include "tools/quillon-publish/PublishError.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace
{
const QString packagesFolder = QStringLiteral("packages");
const QString manifestsFolder = QStringLiteral("manifests");
const QString mainManifest = QStringLiteral("manifest.xml");
const QString serialFile = QStringLiteral("serial");
const QString scratchFolder = QStringLiteral("scratch");
const QString backupFolder = QStringLiteral("backup");
const QString serialBackupFolder = QStringLiteral("serial-backup");

QString gSiteFolder(const QString &folder)
{
    // The target of a link, so that the folder beside the site is in the same file system.
    const QFileInfo info(QDir::cleanPath(folder));
    return info.exists() ? info.canonicalFilePath() : info.absoluteFilePath();
}

/// The path of a hidden file or folder beside @p folder, for this program only.
QString gPathBeside(const QString &folder, const char *suffix)
{
    const QFileInfo info(folder);
    return info.path() + QLatin1String("/.") + info.fileName() + QLatin1String(suffix);
}

/// Makes the file readable for all: the web server runs as another user than the release engineer.
void gMakeReadable(const QString &path)
{
    if (!QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                         QFileDevice::ReadGroup | QFileDevice::ReadOther)) {
        throw PublishError(QStringLiteral("cannot make %1 readable for all").arg(path));
    }
}

void gWriteReadable(const QString &path, const QByteArray &content)
{
    QFile file(path);
    const bool written = file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
    file.close();
    if (!written || file.error() != QFileDevice::NoError) {
        throw PublishError(QStringLiteral("cannot write %1: %2").arg(path, file.errorString()));
    }
    gMakeReadable(path);
}

QByteArray gRead(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        throw PublishError(QStringLiteral("cannot read %1: %2").arg(path, file.errorString()));
    }
    return file.readAll();
}
} // namespace

Site::Site(const QString &folder)
    : m_folder(gSiteFolder(folder))
    , m_staging(gPathBeside(m_folder, ".quillon-publish"))
    , m_lock(gPathBeside(m_folder, ".quillon-publish.lock"))
{
    const QFileInfo info(m_folder);
    if (info.exists() && !info.isDir()) {
        throw PublishError(QStringLiteral("the site is not a folder: %1").arg(m_folder));
    }
    if (!QFileInfo(info.path()).isDir()) {
        throw PublishError(QStringLiteral("no such folder: %1").arg(info.path()));
    }
    // 0: a lock is never stale by its age, only when its process has ended. A patch can take long.
    m_lock.setStaleLockTime(0);
    if (!m_lock.tryLock(0)) {
        throw PublishError(m_lock.error() == QLockFile::LockFailedError
                               ? QStringLiteral("another run is publishing into %1").arg(m_folder)
                               : QStringLiteral("cannot write in %1").arg(info.path()));
    }
    MakeStaging();
}

Site::~Site()
{
    QDir(m_staging).removeRecursively();
}

void Site::MakeStaging() const
{
    QDir staging(m_staging);
    // What is not published yet is nobody else's.
    bool made = staging.removeRecursively() && QDir().mkdir(m_staging) &&
                QFile::setPermissions(m_staging, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                                     QFileDevice::ExeOwner);
    for (const QString &name :
         {packagesFolder, manifestsFolder, scratchFolder, backupFolder, serialBackupFolder}) {
        made = made && staging.mkpath(name);
    }
    if (!made) {
        throw PublishError(QStringLiteral("cannot make the folder %1").arg(m_staging));
    }
}

QString Site::StagedPackage(const QString &name) const
{
    return Staged(packagesFolder + QLatin1Char('/') + name);
}

QString Site::ScratchFolder() const
{
    return Staged(scratchFolder);
}

void Site::AddPackage(const QString &name)
{
    const QString relative = packagesFolder + QLatin1Char('/') + name;
    const QFileInfo present(Published(relative));
    if (!present.exists()) {
        gMakeReadable(Staged(relative));
        m_packages.append(relative);
        return;
    }
    const bool isSame = present.isFile() && present.size() == QFileInfo(Staged(relative)).size() &&
                        FileMd5Hex(present.filePath()) == FileMd5Hex(Staged(relative));
    if (!isSame) {
        throw PublishError(QStringLiteral("the site has another package named %1; published "
                                          "packages never change, give the new one another name")
                               .arg(name));
    }
}

QString Site::OtherPackageOfSize(qint64 size, const QString &name) const
{
    const QFileInfoList present = QDir(Published(packagesFolder)).entryInfoList(QDir::Files);
    for (const QFileInfo &file : present) {
        if (file.size() == size && file.fileName() != name) {
            return file.fileName();
        }
    }
    return {};
}

QStringList Site::ManifestVersions() const
{
    QStringList versions;
    const QStringList present =
        QDir(Published(manifestsFolder))
            .entryList({QStringLiteral("*.xml")}, QDir::Files | QDir::Hidden);
    for (const QString &name : present) {
        const QString version = QFileInfo(name).completeBaseName();
        if (!version.isEmpty()) {
            versions.append(version);
        }
    }
    if (QFileInfo(Published(mainManifest)).isFile()) {
        versions.append(QString());
    }
    return versions;
}

QByteArray Site::PublishedManifest(const QString &version) const
{
    return gRead(Published(ManifestName(version)));
}

QString Site::ManifestName(const QString &version)
{
    return version.isEmpty() ? mainManifest
                             : manifestsFolder + QLatin1Char('/') + version + QLatin1String(".xml");
}

void Site::AddManifest(const QString &version, const QByteArray &document)
{
    gWriteReadable(Staged(ManifestName(version)), document);
    if (!version.isEmpty()) {
        m_manifests.append(ManifestName(version));
    }
}

bool Site::HasSerial() const
{
    return QFileInfo::exists(Published(serialFile));
}

QByteArray Site::SerialText() const
{
    return gRead(Published(serialFile));
}

void Site::SetSerial(quint64 serial)
{
    gWriteReadable(Staged(serialFile), QByteArray::number(serial) + '\n');
    m_hasNewSerial = true;
}

void Site::Publish()
{
    if (m_hasNewSerial) {
        PublishSerial();
    }
    FileChanges changes(Staged(backupFolder));
    changes.MakeFolder(m_folder);
    changes.MakeFolder(Published(packagesFolder));
    changes.MakeFolder(Published(manifestsFolder));
    for (const QString &relative : m_packages + m_manifests + QStringList{mainManifest}) {
        changes.Move(Staged(relative), Published(relative));
    }
    changes.Keep();
}

void Site::PublishSerial() const
{
    // Kept whatever fails later: clients that have read a manifest with the number meanwhile would
    // refuse another publication with it.
    FileChanges changes(Staged(serialBackupFolder));
    changes.MakeFolder(m_folder);
    changes.Move(Staged(serialFile), Published(serialFile));
    changes.Keep();
}

QString Site::Staged(const QString &relative) const
{
    return m_staging + QLatin1Char('/') + relative;
}

QString Site::Published(const QString &relative) const
{
    return m_folder + QLatin1Char('/') + relative;
}
