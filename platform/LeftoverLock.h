// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// Removes the lock file of a `QLockFile` at @p lockPath when it is left over and Qt would wait for
/// it. Errors: none; a file that cannot be removed stays.
///
/// A killed process leaves its lock files behind, and Qt's settings class waits up to 30 s for a
/// lock that seems to be held. On Windows any file that no process has open is removed; elsewhere
/// one that names no process or this one. A lock that anybody holds stays, also when that is another
/// thread of this process.
///
/// Thread: any.
void gRemoveLeftoverLock(const QString &lockPath);
