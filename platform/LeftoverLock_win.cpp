// SPDX-License-Identifier: MIT

#include "platform/LeftoverLock.h"

#include <QFile>

void gRemoveLeftoverLock(const QString &lockPath)
{
    // Whoever holds a lock has its file open without sharing it, so this fails for a lock that is held.
    QFile::remove(lockPath);
}
