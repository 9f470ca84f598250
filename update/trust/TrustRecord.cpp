// SPDX-License-Identifier: MIT

#include "update/trust/TrustRecord.h"

#include "api/ProductSettings.h"
#include "platform/SettingsLock.h"
#include "update/base/SettingsRoom.h"
#include "update/trust/DecimalNumber.h"

#include <QSettings>

namespace
{
QString gKey(const char *key)
{
    return QLatin1String(ProductSettings::quillonGroup) + QLatin1Char('/') + QLatin1String(key);
}
} // namespace

std::optional<TrustRecord> TrustRecord::Read(const QString &path)
{
    // An object of its own: one that could not be written once says so for ever.
    QSettings settings(gWithoutStaleLock(path), QSettings::IniFormat);
    settings.sync();
    if (settings.status() != QSettings::NoError) {
        return std::nullopt;
    }
    TrustRecord record;
    const QVariant serial = settings.value(gKey(ProductSettings::trustSerialKey));
    if (serial.isValid()) {
        const std::optional<quint64> number = gReadDecimal(serial.toString());
        if (!number) {
            return std::nullopt;
        }
        record.serial = *number;
    }
    const QVariant time = settings.value(gKey(ProductSettings::trustTimeKey));
    if (time.isValid()) {
        record.time = QDateTime::fromString(time.toString(), Qt::ISODate);
        if (!record.time.isValid()) {
            return std::nullopt;
        }
    }
    return record;
}

bool TrustRecord::Write(const QString &path) const
{
    QSettings settings(gWithoutStaleLock(path), QSettings::IniFormat);
    if (!gHasRoomForSettings(path)) {
        return false;
    }
    settings.setValue(gKey(ProductSettings::trustSerialKey), QString::number(serial));
    if (time.isValid()) {
        settings.setValue(gKey(ProductSettings::trustTimeKey), time.toUTC().toString(Qt::ISODate));
    }
    settings.sync();
    return settings.status() == QSettings::NoError;
}
