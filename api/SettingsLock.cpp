#include "api/SettingsLock.h"

#include <QCoreApplication>
#include <QFile>
#include <QLockFile>

namespace
{
/// A process that is killed between creating and filling the lock leaves it empty, which counts as
/// held; and where process numbers are reused, our own number may stand in it. This process holds
/// no lock while it opens its settings, so both are leftovers. The lock of any other dead process
/// is detected by Qt.
void gRemoveLeftover(const QString &lockPath)
{
    QLockFile lock(lockPath);
    qint64 owner = 0;
    QString host;
    QString application;
    if (!lock.getLockInfo(&owner, &host, &application) ||
        owner == QCoreApplication::applicationPid()) {
        QFile::remove(lockPath);
    }
}
} // namespace

QString gWithoutStaleLock(const QString &iniPath)
{
    gRemoveLeftover(iniPath + QStringLiteral(".lock"));
    // Qt guards the removal of a stale lock by a second one, which can be left behind as well.
    gRemoveLeftover(iniPath + QStringLiteral(".lock.rmlock"));
    return iniPath;
}
