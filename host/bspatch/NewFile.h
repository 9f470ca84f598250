// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdio>
#include <filesystem>

/// The file that the patch makes. It is written under a temporary name in the same folder; `Commit`
/// gives it its own name and so replaces a file of that name. Without `Commit` the destructor
/// removes the temporary file.
///
/// Errors: the constructor, `Write` and `Commit` throw PatchError.
class NewFile
{
public:
    explicit NewFile(const std::filesystem::path &path);
    ~NewFile();
    NewFile(const NewFile &) = delete;
    NewFile &operator=(const NewFile &) = delete;

    void Write(const unsigned char *bytes, std::size_t size);

    /// Puts the file on the disk and gives it its name. Call it once, after the last `Write`.
    void Commit();

private:
    void Create();

    const std::filesystem::path m_path;
    // Empty before the temporary file is created and after it is renamed.
    std::filesystem::path m_temporaryPath;
    std::FILE *m_file = nullptr;
};
