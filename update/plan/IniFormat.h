// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QMap>

/// The values of an ini file by "group/key", in UTF-8, as they stand in the file.
using IniValues = QMap<QByteArray, QByteArray>;

/// Reads and writes the ini text of `QSettings`, for values that are numbers and short texts. A line
/// break in a value is written as a blank.
///
/// Thread: any.
IniValues gParseIni(const QByteArray &text);
QByteArray gIniText(const IniValues &values);
