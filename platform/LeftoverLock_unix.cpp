// SPDX-License-Identifier: MIT

#include "platform/LeftoverLock.h"

#include "platform/StillAtPath_unix.h"

#include <QCoreApplication>
#include <QFile>
#include <QLockFile>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace
{
/// Whether Qt would take the file for the lock of a living process. A process that is killed between
/// creating and filling the lock file leaves it empty, and Qt takes an empty one for held. Where process
/// numbers are reused, the file may contain the number of this process. The lock of any other dead
/// process is detected by Qt.
bool gSeemsHeld(const QString &lockPath)
{
    qint64 owner = 0;
    QString host;
    QString application;
    return !QLockFile(lockPath).getLockInfo(&owner, &host, &application) ||
           owner == QCoreApplication::applicationPid();
}
} // namespace

void gRemoveLeftoverLock(const QString &lockPath)
{
    const QByteArray name = QFile::encodeName(lockPath);
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-vararg,hicpp-vararg)
    const int file = open(name.constData(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return;
    }
    // QLockFile holds this lock for as long as its own. It tells a living holder from a dead one even
    // when the holder is another thread of this process.
    if (flock(file, LOCK_EX | LOCK_NB) == 0 && gIsStillAtPath(file, name) && gSeemsHeld(lockPath)) {
        QFile::remove(lockPath);
    }
    close(file);
}
