// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// The MD5 of the content of the file at @p path as 32 lower-case hexadecimal digits. A file that
/// cannot be opened gives an empty string and the debug line "file open error.". A read that fails
/// counts as the end of the file. Thread: any.
QString FileMd5Hex(QString path);

/// Whether @p text is an MD5: 32 hexadecimal digits, in any case.
bool gIsMd5(const QString &text);
