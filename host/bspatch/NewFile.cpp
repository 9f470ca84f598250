// SPDX-License-Identifier: MIT

#include "host/bspatch/NewFile.h"

#include "host/bspatch/FileAccess.h"
#include "host/bspatch/PatchError.h"

#include <cerrno>
#include <random>
#include <string>
#include <system_error>
#include <utility>

namespace
{
/// A random name for the temporary file. It does not contain the new file's name, which may already
/// have the greatest length of a name.
std::filesystem::path gRandomName()
{
    std::random_device random;
    return "bspatch-" + std::to_string(random()) + "-" + std::to_string(random()) + ".tmp";
}
} // namespace

NewFile::NewFile(const std::filesystem::path &path)
    : m_path(path)
{
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(path, error);
    // Checked because a rename would replace a device as well.
    if (!path.has_filename() ||
        (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status))) {
        throw PatchError(path, "is not a regular file");
    }
    Create();
}

NewFile::~NewFile()
{
    if (m_file != nullptr) {
        static_cast<void>(std::fclose(m_file));
    }
    if (!m_temporaryPath.empty()) {
        std::error_code ignored;
        std::filesystem::remove(m_temporaryPath, ignored);
    }
}

void NewFile::Create()
{
    while (m_file == nullptr) {
        std::filesystem::path temporaryPath = m_path;
        temporaryPath.replace_filename(gRandomName());
        m_file = gCreateFile(temporaryPath);
        if (m_file != nullptr) {
            m_temporaryPath = std::move(temporaryPath);
        } else if (errno != EEXIST) {
            throw PatchError::FromSystem(m_path, "cannot be created", errno);
        }
    }
}

void NewFile::Write(const unsigned char *bytes, std::size_t size)
{
    if (std::fwrite(bytes, 1, size, m_file) != size) {
        throw PatchError::FromSystem(m_path, "cannot be written", errno);
    }
}

void NewFile::Commit()
{
    if (!gFlushToDisk(m_file)) {
        throw PatchError::FromSystem(m_path, "cannot be written", errno);
    }
    if (std::fclose(std::exchange(m_file, nullptr)) != 0) {
        throw PatchError::FromSystem(m_path, "cannot be written", errno);
    }
    std::error_code error;
    std::filesystem::rename(m_temporaryPath, m_path, error);
    if (error) {
        throw PatchError(m_path, "cannot be put in place: " + error.message());
    }
    m_temporaryPath.clear();
}
