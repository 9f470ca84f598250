// SPDX-License-Identifier: MIT

// bspatch.exe OLDFILE NEWFILE PATCHFILE: makes NEWFILE of OLDFILE by a patch in BSDIFF40 format.

#include "host/bspatch/BspatchProgram.h"

// Wide arguments can hold every name that a file can have, narrow ones only those of the code page.
extern "C" int wmain(int argc, wchar_t *argv[])
{
    return BspatchProgram::Run({argv + 1, argv + argc});
}
