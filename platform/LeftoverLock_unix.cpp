// SPDX-License-Identifier: MIT

#include "platform/LeftoverLock.h"

#include <QCoreApplication>
#include <QFile>
#include <QLockFile>

void gRemoveLeftoverLock(const QString &lockPath)
{
    QLockFile lock(lockPath);
    qint64 owner = 0;
    QString host;
    QString application;
    // A process that is killed between creating and filling the lock file leaves it empty, and Qt
    // takes an empty one for held. Where process numbers are reused, the file may contain the
    // number of this process. The lock of any other dead process is detected by Qt.
    if (!lock.getLockInfo(&owner, &host, &application) ||
        owner == QCoreApplication::applicationPid()) {
        QFile::remove(lockPath);
    }
}
