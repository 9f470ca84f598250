// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// Starts the program at @p path without arguments, as a process that outlives this one and shares
/// no output with it. Where the system has an executable bit, the file is given it first.
///
/// Windows asks the user when the program wants an administrator; the call returns with the answer.
/// A file that another program holds is tried again for up to two seconds there, and the program
/// runs in its own folder, elsewhere in that of this process.
/// @param failure receives the system's reason when the program was not started, if it gives one
/// @return false when the program could not be started, or the user declined.
bool gStartDetached(const QString &path, QString *failure = nullptr);
