// SPDX-License-Identifier: MIT

#pragma once

#include "CvCommonLibExport.h"

#include <QString>

/// Whether a file can be created in the directory @p path. It is found out by creating a file and
/// removing it. False also when there is no such directory. Thread: any.
CVCOMMONLIB_EXPORT bool IsPathWriteable(const QString &path);

/// The host's data directory, without a trailing slash. Thread: GUI thread.
CVCOMMONLIB_EXPORT QString CvGetCorvinaDirectory();

/// Sets the host's data directory. Before the first call, and with an empty @p directory, it is the
/// folder of the running application. Thread: GUI thread; nothing locks the value.
CVCOMMONLIB_EXPORT void CvSetCorvinaDirectory(const QString &directory);
