// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// Starts the program at @p path without arguments, as a process that outlives this one and shares
/// no output with it. Where the system has an executable bit, the file is given it first.
///
/// On Windows a program that requires an administrator makes the system ask the user, and the call
/// returns with the answer; a file that another program holds is tried again for up to two seconds;
/// and the program runs in its own folder. Elsewhere it runs in the current folder of this process.
///
/// Thread: any; it blocks as said above.
/// @param failure receives the system's reason when the program was not started, if it gives one
/// @return false when the program could not be started, or the user declined.
bool gStartDetached(const QString &path, QString *failure = nullptr);
