// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// Writes a line about the progress to the standard output and flushes it.
void gPrintLine(const QString &line);

/// Writes a line about an error or a warning to the standard error, behind the program's name. Line
/// breaks inside it, for example in the message of another program, become blanks.
void gPrintError(const QString &line);

/// A size for the user: "2.50 MB (2621440 bytes)".
QString gBytesText(qint64 bytes);

/// A time for the user: "1.5 s".
QString gSecondsText(qint64 milliseconds);
