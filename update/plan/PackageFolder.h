// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <memory>

class ProcessLock;

/// The folder that all programs of this machine share, where packages land and installers are kept
/// for the next incremental update. It is created when it is missing. Empty when it cannot be had or
/// cannot be written.
QString gSharedPackageFolder();

/// The shared folder, or the application's own when there is none.
QString gPackageFolder();

/// The file that `gLockPackages` locks.
QString gPackageLockFile();

/// One download at a time in `gPackageFolder()`, for all processes that share it.
/// @return the lock; null while another download holds it. Where the folder cannot be locked, a lock
///         without effect is returned, and that is logged.
std::shared_ptr<ProcessLock> gLockPackages();
