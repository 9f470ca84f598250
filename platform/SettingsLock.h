// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// Removes what a killed process left behind of the lock that Qt's settings class takes beside the
/// ini file @p iniPath for every write. Without it the next write can block its thread for 30 s.
///
/// Call it before the settings are opened. Errors: none; a lock that cannot be removed stays.
/// @return @p iniPath, for use in an initialiser.
QString gWithoutStaleLock(const QString &iniPath);
