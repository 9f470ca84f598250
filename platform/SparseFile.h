// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// Has the system store only what is written to the file at @p path, which exists and may be open
/// elsewhere. Call it before the file gets its size. On Windows the first write behind a gap fills
/// the gap with zeros otherwise: half a gigabyte, while the window does not react. Elsewhere a file
/// has this property by itself, and nothing is done.
///
/// The space is not reserved then: a full disk shows when the bytes are written.
///
/// Thread: any.
/// @return whether the file has the property; a file system without it, as FAT, is no error.
bool gMakeSparse(const QString &path);
