// SPDX-License-Identifier: MIT

#include "host/bspatch/InputFile.h"

#include "host/bspatch/PatchError.h"

#include <cerrno>
#include <system_error>

InputFile::InputFile(const std::filesystem::path &path)
    : m_path(path)
{
    // Before the file is opened, because opening a pipe would wait for a writer.
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(path, error);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
        throw PatchError(path, "is not a regular file");
    }

    errno = 0;
    m_stream.open(path, std::ios::binary);
    m_stream.seekg(0, std::ios::end);
    m_size = static_cast<std::int64_t>(m_stream.tellg());
    if (!m_stream || m_size < 0) {
        throw PatchError::FromSystem(path, "cannot be opened", errno);
    }
}

void InputFile::ReadAt(std::int64_t offset, unsigned char *buffer, std::size_t size)
{
    errno = 0;
    m_stream.seekg(offset);
    m_stream.read(reinterpret_cast<char *>(buffer), static_cast<std::streamsize>(size));
    if (m_stream.eof()) {
        throw PatchError(m_path, "has become shorter");
    }
    if (!m_stream) {
        throw PatchError::FromSystem(m_path, "cannot be read", errno);
    }
}
