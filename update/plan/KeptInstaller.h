// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

class QSettings;

/// Searches @p folder for the installer of @p currentVersion that an incremental package applies
/// to: a file whose version resource names that version and whose MD5 is @p expectedMd5 (exactly,
/// lower-case). Every file of the right version with another MD5 is logged and reported.
/// @return its absolute path; empty when there is none.
QString gFindKeptInstaller(const QString &folder, const QString &currentVersion,
                           const QString &expectedMd5);

/// Writes into the product settings @p settings that the installer at @p path is to be offered by the next
/// check. Where the disk cannot take the settings, they stay as they were, and the log says so.
void gRememberInstaller(QSettings *settings, const QString &path);
