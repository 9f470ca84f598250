// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

struct UpdateContext;

/// Rebuilds an installer with the program "bspatch.exe" in the application's folder: applies
/// @p patchFile to @p keptInstaller, compares the result's MD5 with @p expectedMd5 (exactly,
/// lower-case), and puts it under the kept installer's name, where the next update finds it.
///
/// Blocks until the program has ended, for at most the limit of the context's system. What fails is
/// logged and reported; only a missing program is not.
/// @return whether the new installer is in place; if not, the kept one is as it was, and what the
/// program made stays beside it as ".patch".
bool gPatchKeptInstaller(const QString &keptInstaller, const QString &patchFile,
                         const QString &expectedMd5, const UpdateContext &context);
