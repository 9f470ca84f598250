// SPDX-License-Identifier: MIT

#pragma once

#include <cstdio>
#include <filesystem>

// What the standard library cannot do with files; one source per system.

/// Creates a file and opens it for writing. Null, with the reason in errno, when it cannot be
/// created or when this name exists already.
std::FILE *gCreateFile(const std::filesystem::path &path);

/// Writes what is buffered, and returns when the file is on the disk. False, with the reason in
/// errno, when that fails.
bool gFlushToDisk(std::FILE *file);
