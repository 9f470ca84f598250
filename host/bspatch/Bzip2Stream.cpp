// SPDX-License-Identifier: MIT

#include "host/bspatch/Bzip2Stream.h"

#include "host/bspatch/InputFile.h"
#include "host/bspatch/PatchError.h"

#include <algorithm>
#include <utility>

namespace
{
constexpr std::int64_t packedSize = 65536;
} // namespace

Bzip2Stream::Bzip2Stream(InputFile &patch, std::string name, std::int64_t begin, std::int64_t end)
    : m_patch(patch)
    , m_name(std::move(name))
    , m_position(begin)
    , m_end(end)
    , m_packed(packedSize)
{
    if (BZ2_bzDecompressInit(&m_stream, 0, 0) != BZ_OK) {
        FailForMemory();
    }
}

Bzip2Stream::~Bzip2Stream()
{
    BZ2_bzDecompressEnd(&m_stream);
}

void Bzip2Stream::Read(unsigned char *buffer, std::size_t size)
{
    if (Unpack(buffer, size) != size) {
        Fail("ends too early");
    }
}

void Bzip2Stream::ExpectEnd()
{
    unsigned char excess = 0;
    if (Unpack(&excess, 1) != 0) {
        Fail("is too long");
    }
}

std::size_t Bzip2Stream::Unpack(unsigned char *buffer, std::size_t size)
{
    m_stream.next_out = reinterpret_cast<char *>(buffer);
    m_stream.avail_out = static_cast<unsigned int>(size);
    while (m_stream.avail_out > 0 && !m_ended) {
        Refill();
        const unsigned int room = m_stream.avail_out;
        const bool starved = m_stream.avail_in == 0;
        const int result = BZ2_bzDecompress(&m_stream);
        if (result == BZ_MEM_ERROR) {
            FailForMemory();
        }
        if (result != BZ_OK && result != BZ_STREAM_END) {
            Fail("is not valid bzip2 data");
        }
        m_ended = result == BZ_STREAM_END;
        // Without input the library may still give output of input that it has taken before. A call
        // without either means that the data ends too early.
        if (!m_ended && starved && m_stream.avail_out == room) {
            Fail("is cut off");
        }
    }
    return size - m_stream.avail_out;
}

void Bzip2Stream::Refill()
{
    if (m_stream.avail_in > 0) {
        return;
    }
    const auto size = static_cast<unsigned int>(std::min(packedSize, m_end - m_position));
    m_patch.ReadAt(m_position, reinterpret_cast<unsigned char *>(m_packed.data()), size);
    m_position += size;
    m_stream.next_in = m_packed.data();
    m_stream.avail_in = size;
}

void Bzip2Stream::Fail(const std::string &reason) const
{
    throw PatchError(m_patch.Path(), "is damaged: its " + m_name + " block " + reason);
}

void Bzip2Stream::FailForMemory() const
{
    throw PatchError(m_patch.Path(), "cannot be unpacked: not enough memory");
}
