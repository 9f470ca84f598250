// SPDX-License-Identifier: MIT

#include "demo/serve/ByteRange.h"

#include <algorithm>

std::optional<ByteRange> ByteRange::Resolve(std::pair<std::int64_t, std::int64_t> range,
                                            std::uint64_t size)
{
    if (range.first < 0) {
        const auto wanted = static_cast<std::uint64_t>(std::max<std::int64_t>(range.second, 0));
        const std::uint64_t length = std::min(wanted, size);
        if (length == 0) {
            return std::nullopt;
        }
        return ByteRange{size - length, length};
    }
    const auto first = static_cast<std::uint64_t>(range.first);
    if (first >= size || (range.second >= 0 && range.second < range.first)) {
        return std::nullopt;
    }
    const std::uint64_t last =
        range.second < 0 ? size - 1 : std::min(static_cast<std::uint64_t>(range.second), size - 1);
    return ByteRange{first, last - first + 1};
}

std::string ByteRange::ContentRange(std::uint64_t size) const
{
    return "bytes " + std::to_string(first) + '-' + std::to_string(first + length - 1) + '/' +
           std::to_string(size);
}
