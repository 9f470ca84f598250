// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// Sends every log line of Qt and of the module to the file at @p path, with time, category and
/// function, from now until the process ends.
///
/// Thread: call it once, before others log; the lines may come from any thread.
/// @return false when the file cannot be opened; then nothing changes.
bool gLogToFile(const QString &path);
