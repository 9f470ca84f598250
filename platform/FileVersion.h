// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// The `FileVersion` text of the version resource of the file at @p path, as it is stored there:
/// the text of the resource's first translation, not rebuilt from the numeric fields. Windows reads
/// the resource of a sound file itself; elsewhere `gPeFileVersion` does. The answers are the same,
/// unless the file has a resource in each of several languages that differ in the version: Windows
/// takes the user's language.
///
/// A file that is no PE file may carry its version as a line "FileVersion=..." within its first
/// 4096 bytes, optionally behind "#" or "//". Empty when the file has neither, is damaged or cannot
/// be read.
QString FileVersionString(const QString &path);
