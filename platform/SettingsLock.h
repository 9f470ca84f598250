// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// Removes the lock files that a killed process left beside the ini file @p iniPath; Qt's settings
/// class takes such a lock for every write. Without this the next write can block its thread for
/// 30 s.
///
/// A lock that another process or another thread of the host holds at this moment stays.
///
/// Call it before the settings are opened. Errors: none; a lock that cannot be removed stays.
/// @return @p iniPath, for use in an initialiser.
QString gWithoutStaleLock(const QString &iniPath);
