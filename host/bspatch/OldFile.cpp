// SPDX-License-Identifier: MIT

#include "host/bspatch/OldFile.h"

#include <algorithm>

namespace
{
constexpr std::int64_t blockSize = 65536;
} // namespace

OldFile::OldFile(const std::filesystem::path &path)
    : m_file(path)
    , m_block(blockSize)
{
}

void OldFile::AddTo(std::int64_t position, unsigned char *bytes, std::size_t size)
{
    const std::int64_t end = std::min(position + static_cast<std::int64_t>(size), m_file.Size());
    std::int64_t current = std::max<std::int64_t>(position, 0);
    while (current < end) {
        LoadBlockAt(current);
        const std::int64_t partEnd = std::min(m_blockEnd, end);
        const unsigned char *old = m_block.data() + (current - m_blockBegin);
        unsigned char *target = bytes + (current - position);
        for (std::int64_t index = 0; index < partEnd - current; ++index) {
            target[index] = static_cast<unsigned char>(target[index] + old[index]);
        }
        current = partEnd;
    }
}

void OldFile::LoadBlockAt(std::int64_t position)
{
    if (position >= m_blockBegin && position < m_blockEnd) {
        return;
    }
    const std::int64_t begin = position - position % blockSize;
    const std::int64_t length = std::min(blockSize, m_file.Size() - begin);
    m_file.ReadAt(begin, m_block.data(), static_cast<std::size_t>(length));
    m_blockBegin = begin;
    m_blockEnd = begin + length;
}
