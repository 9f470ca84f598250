// SPDX-License-Identifier: MIT

// bspatch.exe OLDFILE NEWFILE PATCHFILE: makes NEWFILE of OLDFILE and a patch in the BSDIFF40 format.

#include "host/bspatch/BspatchProgram.h"

// Any name that a file can have: the narrow arguments know only those of the system's code page.
extern "C" int wmain(int argc, wchar_t *argv[])
{
    return BspatchProgram::Run({argv + 1, argv + argc});
}
