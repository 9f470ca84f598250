// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdio>
#include <filesystem>

/// The file that the patch makes. It grows under a temporary name in the same folder and gets its own
/// name, in place of what was there before, by `Commit`. Without that the destructor removes it.
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

    /// Call once, behind the last byte.
    void Commit();

private:
    void Create();

    const std::filesystem::path m_path;
    // Empty when there is no temporary file, or none any more.
    std::filesystem::path m_temporaryPath;
    std::FILE *m_file = nullptr;
};
