// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

#include <chrono>

/// How a run of the patch program ended.
enum class PatchProcessEnd {
    /// By itself. The exit code is not examined: the result is verified.
    Exited,
    /// It crashed, or could not be started.
    Crashed,
    /// It had not ended within the limit, and was killed. It does not run any more.
    Killed,
    /// It had not ended within the limit, and still runs: the system could not end it.
    StillRunning
};

/// Runs the patch program. Blocks until it has ended, or been ended behind @p limit. What it writes to
/// its error output is logged.
PatchProcessEnd gRunPatchProcess(const QString &program, const QStringList &arguments,
                                 std::chrono::milliseconds limit);

/// Removes the temporary files that patch programs have left in @p folder: those that were killed, or
/// whose machine lost its power. Call it only with the lock of the packages, under which no other program
/// of this module patches.
/// @return false when one cannot be removed: a patch program of before may still be writing it.
bool gRemovePatchTemporaryFiles(const QString &folder);
