// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

enum class FlushResult {
    /// What was written to the file before the call survives a loss of power.
    Flushed,
    /// It is unknown whether that holds: the file cannot be opened, or its file system cannot
    /// flush.
    Unknown,
    /// The system tried and failed; bytes that were written lately may be lost already.
    Failed
};

/// Puts what any process has written to the file at @p path on stable storage. Blocks while the
/// disk works, which can be seconds. Thread: any.
FlushResult gFlushToDisk(const QString &path);

/// Makes the names of the files in @p folder survive a loss of power, where the system does not do
/// so by itself. Errors: none.
void gFlushFolder(const QString &folder);
