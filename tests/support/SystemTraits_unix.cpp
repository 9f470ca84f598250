// SPDX-License-Identifier: MIT

#include "tests/support/SystemTraits.h"

bool gTellsOfEarlyResets()
{
    return true;
}

bool gRemovesOpenFiles()
{
    return true;
}

bool gMakesSparseFiles()
{
    return true;
}
