// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>

/// A regular file, opened for reading at any place.
///
/// Errors: the constructor and `ReadAt` throw PatchError.
class InputFile
{
public:
    explicit InputFile(const std::filesystem::path &path);

    const std::filesystem::path &Path() const { return m_path; }

    /// The size in bytes that the file had when it was opened.
    std::int64_t Size() const { return m_size; }

    /// Reads exactly @p size bytes from @p offset on. Precondition: they lie within `Size()`. A
    /// file that has become shorter since it was opened is an error.
    void ReadAt(std::int64_t offset, unsigned char *buffer, std::size_t size);

private:
    const std::filesystem::path m_path;
    std::ifstream m_stream;
    std::int64_t m_size = 0;
};
