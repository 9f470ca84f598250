// SPDX-License-Identifier: MIT

#pragma once

#include <filesystem>
#include <vector>

/// The patch program without its main function, which differs between systems.
class BspatchProgram
{
public:
    /// Runs the program with @p arguments, without the program's name. Returns the exit code: 0
    /// when the new file is in place, 1 after a failure, 2 for a wrong number of arguments. A
    /// failure and a wrong number of arguments each give one line on stderr.
    static int Run(const std::vector<std::filesystem::path> &arguments);

    /// Makes @p newPath of @p oldPath and the patch. The new file gets its name when it is complete
    /// and on the disk; until then, and after a failure, a file that had this name stays as it is.
    ///
    /// Errors: throws PatchError, also when the new file is one of the other two.
    static void Apply(const std::filesystem::path &oldPath, const std::filesystem::path &newPath,
                      const std::filesystem::path &patchPath);
};
