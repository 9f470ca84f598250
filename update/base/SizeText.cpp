// SPDX-License-Identifier: MIT

#include "update/base/SizeText.h"

#include <QLatin1String>

QString gFormatSize(qint64 bytes)
{
    constexpr qint64 kilobyte = 1024;
    constexpr qint64 megabyte = 1024 * kilobyte;
    constexpr qint64 gigabyte = 1024 * megabyte;

    auto value = static_cast<double>(bytes);
    QLatin1String unit;
    if (bytes <= 0) {
        value = 0;
    } else if (bytes < kilobyte) {
        unit = QLatin1String("Bytes");
    } else if (bytes < megabyte) {
        value /= static_cast<double>(kilobyte);
        unit = QLatin1String("KB");
    } else if (bytes < gigabyte) {
        value /= static_cast<double>(megabyte);
        unit = QLatin1String("MB");
    } else {
        value /= static_cast<double>(gigabyte);
        unit = QLatin1String("GB");
    }
    return QStringLiteral("%1 %2").arg(QString::number(value, 'f', 2), unit);
}
