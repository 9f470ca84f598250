// SPDX-License-Identifier: MIT

#include "update/trust/TrustRecord.h"

#include "api/ProductSettings.h"
#include "platform/SettingsLock.h"
#include "update/base/SettingsRoom.h"
#include "update/trust/DecimalNumber.h"

#include <QFile>
#include <QSettings>

#include <algorithm>

namespace
{
QString gKey(const char *key)
{
    return QLatin1String(ProductSettings::quillonGroup) + QLatin1Char('/') + QLatin1String(key);
}

/// Whether a line of the settings is one: QSettings reads over what it does not understand.
bool gIsIniLine(const QByteArray &line)
{
    const QByteArray text = line.trimmed();
    if (text.startsWith('[')) {
        return text.endsWith(']');
    }
    return text.isEmpty() || text.startsWith(';') || text.contains('=');
}

/// Whether the last line, which no line feed ends, may be the rest of a value of ours.
bool gIsCutValue(const QByteArray &line)
{
    return line.startsWith(ProductSettings::trustSerialKey) ||
           line.startsWith(ProductSettings::trustTimeKey);
}

/// Whether the settings file can be read and shows no damage. One that is not there is as good.
bool gIsWhole(const QString &path)
{
    QFile file(path);
    if (!file.exists()) {
        return true;
    }
    if (!file.open(QIODevice::ReadOnly)) {
        return false;
    }
    const QByteArray text = file.readAll();
    const QList<QByteArray> lines = text.split('\n');
    return file.error() == QFileDevice::NoError && !text.contains('\0') &&
           std::all_of(lines.cbegin(), lines.cend(), gIsIniLine) && !gIsCutValue(lines.last());
}
} // namespace

std::optional<TrustRecord> TrustRecord::Read(const QString &path)
{
    // QSettings tells of damage only who reads the file first in this process.
    if (!gIsWhole(path)) {
        return std::nullopt;
    }
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
