// SPDX-License-Identifier: MIT

#include "tests/support/SystemTraits.h"

bool gTellsOfEarlyResets()
{
    return false;
}

bool gRemovesOpenFiles()
{
    return false;
}
