// SPDX-License-Identifier: MIT

#include "tools/quillon-publish/FileChanges.h"

#include "tools/quillon-publish/Console.h"
#include "tools/quillon-publish/PublishError.h"

#include <QDir>
#include <QFile>

#include <filesystem>
#include <system_error>

namespace
{
constexpr QFileDevice::Permissions folderPermissions =
    QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner |
    QFileDevice::ReadGroup | QFileDevice::ExeGroup | QFileDevice::ReadOther | QFileDevice::ExeOther;

/// Renames @p from to @p to; unlike `QFile::rename` it replaces a file that exists.
std::error_code gRenameOver(const QString &from, const QString &to)
{
    std::error_code error;
    std::filesystem::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData(),
                            error);
    return error;
}
} // namespace

FileChanges::FileChanges(const QString &backupFolder)
    : m_backupFolder(backupFolder)
{
}

FileChanges::~FileChanges()
{
    while (!m_changes.isEmpty()) {
        const Change change = m_changes.takeLast();
        if (!TakeBack(change)) {
            gPrintError(QStringLiteral("%1 could not be put back as it was").arg(change.path));
            return;
        }
    }
}

void FileChanges::MakeFolder(const QString &folder)
{
    if (QFileInfo(folder).isDir()) {
        return;
    }
    if (!QDir().mkdir(folder)) {
        throw PublishError(QStringLiteral("cannot make the folder %1").arg(folder));
    }
    m_changes.append({Kind::NewFolder, folder, QString()});
    QFile::setPermissions(folder, folderPermissions);
}

void FileChanges::Move(const QString &from, const QString &to)
{
    Change change{Kind::NewFile, to, QString()};
    if (QFileInfo::exists(to)) {
        // The backup is a copy and not the moved file, so that readers find the file at all times.
        change.kind = Kind::ReplacedFile;
        change.backup = m_backupFolder + QLatin1Char('/') + QString::number(m_changes.size());
        QFile old(to);
        if (!old.copy(change.backup)) {
            throw PublishError(
                QStringLiteral("cannot keep a copy of %1: %2").arg(to, old.errorString()));
        }
    }
    if (const std::error_code error = gRenameOver(from, to)) {
        throw PublishError(QStringLiteral("cannot publish %1: %2")
                               .arg(to, QString::fromStdString(error.message())));
    }
    m_changes.append(change);
}

bool FileChanges::TakeBack(const Change &change)
{
    switch (change.kind) {
    case Kind::NewFolder:
        return QDir().rmdir(change.path);
    case Kind::NewFile:
        return QFile::remove(change.path);
    case Kind::ReplacedFile:
        return !gRenameOver(change.backup, change.path);
    }
    return false;
}
