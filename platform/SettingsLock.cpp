// SPDX-License-Identifier: MIT

#include "platform/SettingsLock.h"

#include "platform/LeftoverLock.h"

QString gWithoutStaleLock(const QString &iniPath)
{
    gRemoveLeftoverLock(iniPath + QStringLiteral(".lock"));
    // Qt removes a stale lock under a second lock, which a killed process can leave behind, too.
    gRemoveLeftoverLock(iniPath + QStringLiteral(".lock.rmlock"));
    return iniPath;
}
