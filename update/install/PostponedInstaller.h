// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

class QSettings;

/// The setting `SetupFile` of the product settings: the path of an installer that the user put off,
/// which the next check offers again.

/// The path that @p settings hold; empty when there is none. The file may be gone.
QString gReadSetupFile(QSettings *settings);

/// Writes @p path into @p settings. Where the disk cannot take the settings they stay as they were,
/// and the log says so.
void gWriteSetupFile(QSettings *settings, const QString &path);
