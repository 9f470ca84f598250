#pragma once

#include <QString>

/// Starts the program at @p path without arguments, as a process that outlives this one and shares
/// no output with it. Where the system has an executable bit, the file is given it first.
/// @return false when the program could not be started.
bool gStartDetached(const QString &path);
