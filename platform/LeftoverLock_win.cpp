// SPDX-License-Identifier: MIT

#include "platform/LeftoverLock.h"

#include <QFile>

void gRemoveLeftoverLock(const QString &lockPath)
{
    // The holder of a lock has its file open without sharing, so removing a held lock fails.
    QFile::remove(lockPath);
}
