// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// Writes every log line of Qt and of the module to the file at @p path, with time, category and
/// function, until the process ends.
///
/// Thread: call it once, before other threads log; lines may come from any thread.
/// @return false when the file cannot be opened; the log then goes where it went before.
bool gLogToFile(const QString &path);
