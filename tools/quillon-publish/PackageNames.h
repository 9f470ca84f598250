// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// Whether @p version can be a manifest's file name and stand in a query as it is: letters, digits,
/// "-" and "_", with single dots between them. Servers choose the manifest by the same rule.
bool gIsPlainVersion(const QString &version);

/// Whether a package can have the file name @p name: letters, digits, ".", "-" and "_", the first
/// one a letter or a digit. Clients keep a package under what stands behind the last "/" of its
/// address, with any percent-encoding left in, so that only names that need none come out the same.
bool gIsSafePackageName(const QString &name);

/// The file name of the patch that leads from @p oldVersion to the installer @p installerName of
/// @p newVersion: "corvina-9.3.0.0.exe" gives "corvina-9.2.0.0-to-9.3.0.0.patch".
QString gPatchName(const QString &installerName, const QString &oldVersion,
                   const QString &newVersion);
