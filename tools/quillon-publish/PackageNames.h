// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// Whether @p version can be a manifest's file name and stand in a query without encoding: letters,
/// digits, "-" and "_", with single dots between them. quillon-serve and docs/nginx-updates.conf
/// choose the manifest by the same rule.
bool gIsPlainVersion(const QString &version);

/// Whether a package can have the file name @p name: letters, digits, ".", "-" and "_", the first
/// one a letter or a digit. Clients name the kept package after the last part of its address and do
/// not decode it, so the name must need no percent-encoding.
bool gIsSafePackageName(const QString &name);

/// The file name of the patch that leads from @p oldVersion to the installer @p installerName of
/// @p newVersion: "corvina-9.3.0.0.exe" gives "corvina-9.2.0.0-to-9.3.0.0.patch".
QString gPatchName(const QString &installerName, const QString &oldVersion,
                   const QString &newVersion);
