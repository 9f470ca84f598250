// SPDX-License-Identifier: MIT

#include "host/bspatch/FileAccess.h"

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

std::FILE *gCreateFile(const std::filesystem::path &path)
{
    // The older run-time library of Windows does not have the mode "x" of fopen.
    const int descriptor =
        _wopen(path.c_str(), _O_CREAT | _O_EXCL | _O_WRONLY | _O_BINARY | _O_NOINHERIT,
               _S_IREAD | _S_IWRITE);
    return descriptor < 0 ? nullptr : _fdopen(descriptor, "wb");
}

bool gFlushToDisk(std::FILE *file)
{
    return std::fflush(file) == 0 && _commit(_fileno(file)) == 0;
}
