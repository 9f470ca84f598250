// SPDX-License-Identifier: MIT

#include "tests/support/TestBytes.h"

#include <cstring>

QByteArray gTestBytes(qint64 size, quint64 seed)
{
    QByteArray bytes(static_cast<int>(size), Qt::Uninitialized);
    quint64 state = seed;
    for (int offset = 0; offset < bytes.size(); offset += 8) {
        // SplitMix64, by Sebastiano Vigna (public domain): a full 64-bit period from any seed.
        state += 0x9e3779b97f4a7c15ULL;
        quint64 word = state;
        word = (word ^ (word >> 30)) * 0xbf58476d1ce4e5b9ULL;
        word = (word ^ (word >> 27)) * 0x94d049bb133111ebULL;
        word ^= word >> 31;
        std::memcpy(bytes.data() + offset, &word,
                    static_cast<size_t>(qMin(8, bytes.size() - offset)));
    }
    return bytes;
}
