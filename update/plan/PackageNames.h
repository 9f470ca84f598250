// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

struct DownloadTarget;

/// A manifest chooses the names of files. It must not choose one that no file can have, which would show
/// only after the download, nor that of a file which something else needs.

/// Why the file that @p target leaves behind, an installer or a patch, cannot have its name: a text for
/// the log; empty when it can.
///
/// Thread: any. Files are looked up, none is changed.
QString gNameRefusal(const DownloadTarget &target);

/// The same for an incremental package that applies to @p keptInstaller: also when two of the three files
/// of a patch are one, the kept installer, the patch, and what it makes.
QString gNameRefusal(const DownloadTarget &target, const QString &keptInstaller);

/// The file that a patch for @p keptInstaller makes, until it has been verified.
QString gNewInstaller(const QString &keptInstaller);

/// Whether the patch program gives a temporary file this name, without the folder.
bool gIsPatchTemporaryFile(const QString &name);
