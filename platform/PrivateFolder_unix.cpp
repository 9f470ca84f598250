// SPDX-License-Identifier: MIT

#include "platform/PrivateFolder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#include <cerrno>
#include <system_error>

#include <sys/stat.h>
#include <unistd.h>

namespace
{
QString gSystemText(int error)
{
    return QString::fromStdString(std::system_category().message(error));
}

/// Whether others may put, rename or remove something in the folder. In a sticky one they cannot touch what
/// is not theirs.
bool gIsOpenToOthers(const struct stat &folder)
{
    const bool isWritable = (folder.st_mode & (S_IWGRP | S_IWOTH)) != 0;
    return isWritable && (folder.st_mode & S_ISVTX) == 0;
}

/// Makes what is missing of the folders of @p path, for this user alone: a new account may have no cache yet,
/// and what its other programs would make may be open to its group.
bool gMakeMissing(const QString &path, QString *failure)
{
    if (QFileInfo::exists(path)) {
        return true;
    }
    return gMakeMissing(QFileInfo(path).path(), failure) && gMakePrivateFolder(path, failure);
}
} // namespace

QString gPrivateFolder(QString *failure)
{
    const QString cache = QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation);
    const bool isThere = !cache.isEmpty() && gMakeMissing(cache, failure);
    // Without links, so that the folders above are the ones that are looked at.
    const QString above = isThere ? QFileInfo(cache).canonicalFilePath() : QString();
    if (above.isEmpty()) {
        if (failure->isEmpty()) {
            *failure = QStringLiteral("there is no folder for the cache");
        }
        return {};
    }
    const QString path = above + QStringLiteral("/Halvard");
    if (!QFileInfo::exists(path) && !gMakePrivateFolder(path, failure) &&
        !QFileInfo::exists(path)) {
        return {};
    }
    return gIsPrivateFolder(path, failure) && gIsKeptAbove(path, failure) ? path : QString();
}

bool gMakePrivateFolder(const QString &path, QString *failure)
{
    if (mkdir(QFile::encodeName(path).constData(), S_IRWXU) != 0) {
        *failure = path + QStringLiteral(": ") + gSystemText(errno);
        return false;
    }
    return true;
}

bool gIsPrivateFolder(const QString &path, QString *failure)
{
    struct stat folder {
    };
    if (lstat(QFile::encodeName(path).constData(), &folder) != 0) {
        *failure = path + QStringLiteral(": ") + gSystemText(errno);
        return false;
    }
    if (!S_ISDIR(folder.st_mode) || folder.st_uid != geteuid() ||
        (folder.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        *failure = QStringLiteral("another account can change %1").arg(path);
        return false;
    }
    return true;
}

bool gIsKeptAbove(const QString &path, QString *failure)
{
    QString above = QFileInfo(path).path();
    while (true) {
        struct stat folder {
        };
        if (stat(QFile::encodeName(above).constData(), &folder) != 0) {
            *failure = above + QStringLiteral(": ") + gSystemText(errno);
            return false;
        }
        if ((folder.st_uid != geteuid() && folder.st_uid != 0) || gIsOpenToOthers(folder)) {
            *failure = QStringLiteral("another account can change %1").arg(above);
            return false;
        }
        const QString next = QFileInfo(above).path();
        if (next == above) {
            return true;
        }
        above = next;
    }
}
