// SPDX-License-Identifier: MIT

#pragma once

#include <bzlib.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

class InputFile;

/// One of the compressed blocks of a patch, unpacked from begin to end. Bytes of the block behind
/// the end of the compressed data are ignored.
///
/// Ownership: the patch outlives this object; several blocks may share it.
/// Errors: the constructor, `Read` and `ExpectEnd` throw PatchError.
class Bzip2Stream
{
public:
    /// The block of @p patch from the byte @p begin up to, but not including, @p end. @p name is
    /// the block's name in messages.
    Bzip2Stream(InputFile &patch, std::string name, std::int64_t begin, std::int64_t end);
    ~Bzip2Stream();
    Bzip2Stream(const Bzip2Stream &) = delete;
    Bzip2Stream &operator=(const Bzip2Stream &) = delete;

    /// Unpacks exactly @p size bytes; fewer are an error.
    void Read(unsigned char *buffer, std::size_t size);

    /// Throws unless everything has been read. It also reads the last checksum of the compressed
    /// data; before that a wrong one may go unnoticed.
    void ExpectEnd();

private:
    std::size_t Unpack(unsigned char *buffer, std::size_t size);
    void Refill();
    [[noreturn]] void Fail(const std::string &reason) const;
    [[noreturn]] void FailForMemory() const;

    InputFile &m_patch;
    const std::string m_name;
    std::int64_t m_position;
    const std::int64_t m_end;
    std::vector<char> m_packed;
    bz_stream m_stream = {};
    bool m_ended = false;
};
