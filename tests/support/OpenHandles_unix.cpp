// SPDX-License-Identifier: MIT

#include "tests/support/OpenHandles.h"

#include <QDir>

int gOpenHandles()
{
    return QDir("/proc/self/fd")
        .entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System)
        .size();
}
