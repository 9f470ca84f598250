// SPDX-License-Identifier: MIT

#include "update/trust/DecimalNumber.h"

std::optional<quint64> gReadDecimal(const QString &text)
{
    bool isNumber = false;
    const quint64 number = text.toULongLong(&isNumber);
    if (!isNumber || QString::number(number) != text) {
        return std::nullopt;
    }
    return number;
}
