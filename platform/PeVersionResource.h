// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

class QIODevice;

/// Whether the device holds a Portable Executable: a DOS header whose offset field leads to
/// "PE\0\0".
bool gIsPortableExecutable(QIODevice &device);

/// The `FileVersion` text of the first translation in a PE file's version resource; empty when
/// there is none or when any offset or length in the file leads outside of it. Of a resource in
/// several languages the neutral one is read, else the US English one, else the first.
///
/// The layout is that of Microsoft's "PE Format" document (resource directory, section table) and
/// of the VS_VERSIONINFO structure. @p device is random-access and open for reading; only headers
/// and the version resource are read, however large the file is.
QString gPeFileVersion(QIODevice &device);
