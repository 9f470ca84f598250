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

bool gHasVersionLines()
{
    return true;
}

bool gMakesSparseFiles()
{
    return true;
}
