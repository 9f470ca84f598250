// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// Removes the lock file at @p lockPath when nobody holds it any more. One that another process still
/// holds stays.
///
/// A process that is killed leaves its locks behind, and a program that waits for one of them stands
/// still for half a minute. The caller holds no lock of that name itself.
void gRemoveLeftoverLock(const QString &lockPath);
