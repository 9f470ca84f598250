// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

/// Whether a process with this identifier runs.
bool gIsRunning(qint64 pid);
