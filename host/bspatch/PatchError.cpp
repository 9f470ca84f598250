// SPDX-License-Identifier: MIT

#include "host/bspatch/PatchError.h"

#include <system_error>

PatchError::PatchError(const std::filesystem::path &file, const std::string &reason)
    : std::runtime_error(file.u8string() + ": " + reason)
{
}

PatchError PatchError::FromSystem(const std::filesystem::path &file, const std::string &reason,
                                  int code)
{
    if (code == 0) {
        return {file, reason};
    }
    return {file, reason + ": " + std::generic_category().message(code)};
}
