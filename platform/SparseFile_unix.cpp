// SPDX-License-Identifier: MIT

#include "platform/SparseFile.h"

bool gMakeSparse(const QString & /*path*/)
{
    return true;
}
