// SPDX-License-Identifier: MIT

#include "platform/SettingsLock.h"

#include "platform/LeftoverLock.h"

QString gWithoutStaleLock(const QString &iniPath)
{
    // This process holds no lock while it opens its settings.
    gRemoveLeftoverLock(iniPath + QStringLiteral(".lock"));
    // Qt guards the removal of a stale lock by a second one, which can be left behind as well.
    gRemoveLeftoverLock(iniPath + QStringLiteral(".lock.rmlock"));
    return iniPath;
}
