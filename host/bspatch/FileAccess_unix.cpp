// SPDX-License-Identifier: MIT

#include "host/bspatch/FileAccess.h"

#include <unistd.h>

std::FILE *gCreateFile(const std::filesystem::path &path)
{
    return std::fopen(path.c_str(), "wbx");
}

bool gFlushToDisk(std::FILE *file)
{
    return std::fflush(file) == 0 && fsync(fileno(file)) == 0;
}
