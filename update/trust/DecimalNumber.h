// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QtGlobal>

#include <optional>

/// The number that @p text is in decimal: the digits "0" to "9" without a sign, a blank or a leading zero.
/// None for any other text, and for a number above 64 bits. Thread: any.
std::optional<quint64> gReadDecimal(const QString &text);
