// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// The `FileVersion` text of the version resource of the file at @p path, as it is stored there:
/// the text of the resource's first translation, not rebuilt from the numeric fields. On Windows
/// the system reads the resource of an undamaged file; elsewhere `gPeFileVersion` does. The results
/// are the same, unless the file has version resources in several languages that differ in the
/// version: Windows takes the one in the user's language. tst_FileVersionNsis expects the same
/// results for real installers on every system.
///
/// Elsewhere than on Windows, where installers may be scripts, a file that is no PE file may carry
/// its version as a line "FileVersion=..." within its first 4096 bytes, optionally behind "#" or
/// "//". On Windows such a file has no version. Empty when the file has none, is damaged or cannot be
/// read.
QString FileVersionString(const QString &path);
