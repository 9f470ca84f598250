// SPDX-License-Identifier: MIT

#include "tests/support/RunningProcess.h"

#include <csignal>

bool gIsRunning(qint64 pid)
{
    return kill(static_cast<pid_t>(pid), 0) == 0;
}
