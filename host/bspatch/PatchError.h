// SPDX-License-Identifier: MIT

#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>

/// Why a patch cannot be applied. `what()` is one line, "<file>: <reason>", for the user.
class PatchError : public std::runtime_error
{
public:
    PatchError(const std::filesystem::path &file, const std::string &reason);

    /// Adds what the system says about the error number @p code to @p reason. Some failures of the
    /// standard streams leave no number (0); then @p reason stands alone.
    static PatchError FromSystem(const std::filesystem::path &file, const std::string &reason,
                                 int code);
};
