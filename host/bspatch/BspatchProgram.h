// SPDX-License-Identifier: MIT

#pragma once

#include <filesystem>
#include <vector>

/// The patch program without its main function, which differs between systems.
class BspatchProgram
{
public:
    /// Runs the program with its arguments, without its own name. Returns the exit code: 0 when the
    /// new file is in place, 1 after a failure, 2 for a wrong number of arguments. Everything but
    /// success has one line on stderr.
    static int Run(const std::vector<std::filesystem::path> &arguments);

    /// Makes @p newPath of @p oldPath and the patch. The new file appears when it is whole and on the
    /// disk; until then, and after a failure, what was there stays as it is.
    ///
    /// Errors: throws PatchError. The new file must not be one of the other two.
    static void Apply(const std::filesystem::path &oldPath, const std::filesystem::path &newPath,
                      const std::filesystem::path &patchPath);
};
