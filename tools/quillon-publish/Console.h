// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// Writes a line about the work to the standard output, at once.
void gSay(const QString &line);

/// Writes a line about what went wrong to the standard error, under the program's name. Line breaks
/// inside it, from a program's own message say, become blanks.
void gComplain(const QString &line);

/// "2.50 MB (2621440 bytes)"
QString gBytesText(qint64 bytes);

/// "1.5 s"
QString gSecondsText(qint64 milliseconds);
