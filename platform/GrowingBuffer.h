// SPDX-License-Identifier: MIT

#pragma once

#include <vector>

/// Asks a system call that fills a buffer and tells how large it has to be, until the buffer is large
/// enough: what is asked for may grow between two calls. After some attempts it is given up.
///
/// @p ask is called with a buffer, null at first, and a pointer to its size in bytes. It answers
/// @p tooSmall after it has set the needed size, or anything else.
/// @param answer receives the last answer
/// @return the buffer of that answer
template<typename Element, typename Size, typename Ask, typename Answer>
std::vector<Element> gFillGrowingBuffer(const Ask &ask, Answer tooSmall, Answer *answer)
{
    constexpr int attempts = 8;

    std::vector<Element> buffer;
    Size size = 0;
    *answer = ask(nullptr, &size);
    for (int attempt = 0; attempt < attempts && *answer == tooSmall; ++attempt) {
        buffer.resize(size / sizeof(Element) + 1);
        size = static_cast<Size>(buffer.size() * sizeof(Element));
        *answer = ask(buffer.data(), &size);
    }
    return buffer;
}
