// SPDX-License-Identifier: MIT

#pragma once

#include <bzlib.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

class InputFile;

/// One of the compressed blocks of a patch, unpacked from begin to end. The compressed data may end
/// before the block does; what lies behind them in the block is not looked at.
///
/// Ownership: the patch outlives this object; several blocks may share it.
/// Errors: the constructor, `Read` and `ExpectEnd` throw PatchError.
class Bzip2Stream
{
public:
    /// The block @p name, for messages, from @p begin to before @p end in @p patch.
    Bzip2Stream(InputFile &patch, std::string name, std::int64_t begin, std::int64_t end);
    ~Bzip2Stream();
    Bzip2Stream(const Bzip2Stream &) = delete;
    Bzip2Stream &operator=(const Bzip2Stream &) = delete;

    /// Unpacks exactly @p size bytes; fewer are an error.
    void Read(unsigned char *buffer, std::size_t size);

    /// Fails unless everything has been read. Only then are all checksums in the block compared.
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
