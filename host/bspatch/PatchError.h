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

    /// Adds the system's text for the error number @p code to @p reason. Some failures of the
    /// standard streams set no number; for 0 the message is @p reason alone.
    static PatchError FromSystem(const std::filesystem::path &file, const std::string &reason,
                                 int code);
};
