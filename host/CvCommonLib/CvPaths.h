// SPDX-License-Identifier: MIT

#pragma once

#include "CvCommonLibExport.h"

#include <QString>

/// Whether a file can be created in the directory @p path. Finds out by creating one and removing
/// it; false also when there is no such directory.
CVCOMMONLIB_EXPORT bool IsPathWriteable(const QString &path);

/// The host's data directory, without a trailing slash.
CVCOMMONLIB_EXPORT QString CvGetCorvinaDirectory();

/// Sets the host's data directory; without it, or with an empty one, it is the folder of the
/// running application. GUI thread.
CVCOMMONLIB_EXPORT void CvSetCorvinaDirectory(const QString &directory);
