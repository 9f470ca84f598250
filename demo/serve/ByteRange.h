// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

/// The part of a file that a range request asks for, in bytes.
struct ByteRange {
    std::uint64_t first = 0;
    std::uint64_t length = 0;

    /// Applies the two numbers of a Range header to a file of @p size bytes; -1 stands for a number
    /// that is not there ("bytes=5-", "bytes=-5"). Nothing when the file has no such bytes.
    static std::optional<ByteRange> Resolve(std::pair<std::int64_t, std::int64_t> range,
                                            std::uint64_t size);

    /// The value of the Content-Range header.
    std::string ContentRange(std::uint64_t size) const;
};
