// SPDX-License-Identifier: MIT

#include "host/bspatch/BspatchProgram.h"

#include "host/bspatch/InputFile.h"
#include "host/bspatch/NewFile.h"
#include "host/bspatch/OldFile.h"
#include "host/bspatch/Patcher.h"
#include "host/bspatch/PatchError.h"

#include <exception>
#include <iostream>
#include <system_error>

namespace
{
bool gIsSameFile(const std::filesystem::path &one, const std::filesystem::path &other)
{
    // A file that does not exist yet is an error here, and the same as no other file.
    std::error_code error;
    return std::filesystem::equivalent(one, other, error) && !error;
}
} // namespace

int BspatchProgram::Run(const std::vector<std::filesystem::path> &arguments)
{
    if (arguments.size() != 3) {
        std::cerr << "usage: bspatch.exe OLDFILE NEWFILE PATCHFILE\n";
        return 2;
    }
    try {
        Apply(arguments[0], arguments[1], arguments[2]);
    } catch (const std::exception &error) {
        std::cerr << "bspatch: " << error.what() << '\n';
        return 1;
    }
    return 0;
}

void BspatchProgram::Apply(const std::filesystem::path &oldPath,
                           const std::filesystem::path &newPath,
                           const std::filesystem::path &patchPath)
{
    if (gIsSameFile(newPath, oldPath)) {
        throw PatchError(newPath, "is both the old and the new file");
    }
    if (gIsSameFile(newPath, patchPath)) {
        throw PatchError(newPath, "is both the patch and the new file");
    }

    InputFile patch(patchPath);
    OldFile oldFile(oldPath);
    Patcher patcher(patch, oldFile);
    NewFile newFile(newPath);
    patcher.WriteTo(newFile);
    newFile.Commit();
}
