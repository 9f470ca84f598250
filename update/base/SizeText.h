// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QtGlobal>

/// A count of bytes for people: two decimals, a blank, and "Bytes", "KB", "MB" or "GB" (powers of
/// 1024). 0 and less give "0.00 ", with an empty unit.
QString gFormatSize(qint64 bytes);
