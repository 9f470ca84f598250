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

/// The text of a settings file that can be read and shows no damage. One that is not there has none.
std::optional<QByteArray> gReadWhole(const QString &path)
{
    QFile file(path);
    if (!file.exists()) {
        return QByteArray();
    }
    if (!file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    const QByteArray text = file.readAll();
    const QList<QByteArray> lines = text.split('\n');
    const bool isWhole = file.error() == QFileDevice::NoError && !text.contains('\0') &&
                         std::all_of(lines.cbegin(), lines.cend(), gIsIniLine) &&
                         !gIsCutValue(lines.last());
    return isWhole ? std::make_optional(text) : std::nullopt;
}

/// A key of ours. QSettings takes a line for a part of the one before when that has one quotation mark, or a
/// backslash at its end: the key is lost then, and its name is still there.
std::optional<QVariant> gReadValue(const QSettings &settings, const QByteArray &text,
                                   const char *key)
{
    const QVariant value = settings.value(gKey(key));
    const bool isLost = !value.isValid() && text.contains(key);
    return isLost ? std::nullopt : std::make_optional(value);
}
} // namespace

std::optional<TrustRecord> TrustRecord::Read(const QString &path)
{
    // QSettings tells of damage only who reads the file first in this process.
    const std::optional<QByteArray> text = gReadWhole(path);
    if (!text) {
        return std::nullopt;
    }
    // An object of its own: one that could not be written once says so for ever.
    QSettings settings(gWithoutStaleLock(path), QSettings::IniFormat);
    settings.sync();
    if (settings.status() != QSettings::NoError) {
        return std::nullopt;
    }
    const auto serial = gReadValue(settings, *text, ProductSettings::trustSerialKey);
    const auto time = gReadValue(settings, *text, ProductSettings::trustTimeKey);
    if (!serial || !time) {
        return std::nullopt;
    }
    TrustRecord record;
    if (serial->isValid()) {
        const std::optional<quint64> number = gReadDecimal(serial->toString());
        if (!number) {
            return std::nullopt;
        }
        record.serial = *number;
    }
    if (time->isValid()) {
        record.time = QDateTime::fromString(time->toString(), Qt::ISODate);
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
