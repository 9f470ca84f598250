// SPDX-License-Identifier: MIT

// bspatch.exe OLDFILE NEWFILE PATCHFILE: makes NEWFILE of OLDFILE by a patch in BSDIFF40 format.

#include "host/bspatch/BspatchProgram.h"

int main(int argc, char *argv[])
{
    return BspatchProgram::Run({argv + 1, argv + argc});
}
