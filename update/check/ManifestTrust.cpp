// SPDX-License-Identifier: MIT

#include "update/check/ManifestTrust.h"

#include "api/ProductSettings.h"
#include "platform/ProcessLock.h"
#include "update/base/DownloadSystem.h"
#include "update/base/UpdateContext.h"

#include <QThread>

namespace
{
/// A clock may be off by as much: systems that share a machine do not agree on its time zone.
constexpr qint64 clockToleranceSeconds = qint64{24} * 60 * 60;
/// No manifest is meant to hold for longer. One that seems to is seen by a clock that has lost its time.
constexpr qint64 longestValiditySeconds = qint64{3660} * 24 * 60 * 60;
/// The clock is not written down more often.
constexpr qint64 clockStepSeconds = qint64{60} * 60;

/// A manifest without an end needs no clock.
QString gClockRefusal(const SignedStatement &statement, const TrustRecord &record,
                      const QDateTime &now)
{
    if (!statement.expires) {
        return {};
    }
    const QString at = statement.expires->toString(Qt::ISODate);
    if (!now.isValid()) {
        return QStringLiteral("the manifest expires on %1, and the clock cannot be read").arg(at);
    }
    if (now >= *statement.expires) {
        return QStringLiteral("the manifest has expired on %1").arg(at);
    }
    if (now.secsTo(*statement.expires) > longestValiditySeconds) {
        return QStringLiteral("the manifest expires too far in the future, on %1").arg(at);
    }
    if (record.time.isValid() && now.secsTo(record.time) > clockToleranceSeconds) {
        return QStringLiteral("the clock was set back, it has been %1")
            .arg(record.time.toString(Qt::ISODate));
    }
    return {};
}

/// Waits for a moment for another process that judges a manifest: between its reading and its writing of
/// the serial a higher one of this process would be lost. Where nothing can be locked, after a few attempts,
/// nobody is waited for: some home folders are on a file system without locks.
bool gLockRecord(ProcessLock *lock, const QString &path)
{
    constexpr int attempts = 100;
    constexpr int attemptsWithoutLocks = 10;
    constexpr unsigned long pauseMs = 10;

    int unavailable = 0;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        const ProcessLock::Outcome outcome = lock->TryLock(path);
        unavailable += outcome == ProcessLock::Outcome::Unavailable ? 1 : 0;
        if (outcome == ProcessLock::Outcome::Taken || unavailable == attemptsWithoutLocks) {
            return true;
        }
        QThread::msleep(pauseMs);
    }
    return false;
}

/// The rule that @p statement breaks; empty when it breaks none.
QString gRefusal(const SignedStatement &statement, const QString &version,
                 const TrustRecord &record, const QDateTime &now)
{
    if (!statement.forVersion.isEmpty() && statement.forVersion != version) {
        return QStringLiteral("the manifest is for version %1 and not for %2")
            .arg(statement.forVersion, version);
    }
    if (statement.serial < record.serial) {
        return QStringLiteral("the manifest is older than one before, serial %1 after %2")
            .arg(statement.serial)
            .arg(record.serial);
    }
    return gClockRefusal(statement, record, now);
}
} // namespace

ManifestTrust::ManifestTrust(const UpdateContext &context)
    : m_isOn(!context.publicKeys.isEmpty())
    , m_keys(gReadMinisignKeys(context.publicKeys))
    , m_system(context.system)
    , m_settingsFile(gProductSettingsFile(context.configDirectory))
{
}

bool ManifestTrust::Accept(const SignedStatement &statement, const QString &version,
                           QString *refusal) const
{
    ProcessLock lock;
    if (!gLockRecord(&lock, m_settingsFile + QStringLiteral(".trust.lock"))) {
        *refusal =
            QStringLiteral("another process keeps the last serial locked, %1").arg(m_settingsFile);
        return false;
    }
    const std::optional<TrustRecord> record = TrustRecord::Read(m_settingsFile);
    if (!record) {
        *refusal = QStringLiteral("the settings file with the last serial cannot be read, %1")
                       .arg(m_settingsFile);
        return false;
    }
    const QDateTime now = m_system.now();
    *refusal = gRefusal(statement, version, *record, now);
    if (!refusal->isEmpty()) {
        return false;
    }
    if (!Remember(statement, now, *record)) {
        *refusal = QStringLiteral("disk failure, the serial cannot be written into %1")
                       .arg(m_settingsFile);
        return false;
    }
    return true;
}

bool ManifestTrust::Remember(const SignedStatement &statement, const QDateTime &now,
                             TrustRecord record) const
{
    const bool isNewer = statement.serial > record.serial;
    const bool isLater =
        statement.expires && (!record.time.isValid() || record.time.secsTo(now) > clockStepSeconds);
    if (!isNewer && !isLater) {
        return true;
    }
    record.serial = statement.serial;
    if (isLater) {
        record.time = now;
    }
    return record.Write(m_settingsFile);
}
