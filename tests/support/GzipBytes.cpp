// SPDX-License-Identifier: MIT

#include "tests/support/GzipBytes.h"

#include <QtEndian>

namespace
{
quint32 gCrc32(const QByteArray &bytes)
{
    quint32 crc = 0xffffffffU;
    for (const char byte : bytes) {
        crc ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc >> 1) ^ ((crc & 1U) != 0 ? 0xedb88320U : 0U);
        }
    }
    return ~crc;
}

QByteArray gLittleEndian(quint32 number)
{
    QByteArray bytes(4, Qt::Uninitialized);
    qToLittleEndian(number, bytes.data());
    return bytes;
}
} // namespace

QByteArray gGzipped(const QByteArray &bytes)
{
    // Qt's own form: four bytes of its own, then the two of a zlib header, and four of a checksum.
    const QByteArray deflated = qCompress(bytes).mid(6).chopped(4);
    return QByteArray("\x1f\x8b\x08\0\0\0\0\0\0\x03", 10) + deflated +
           gLittleEndian(gCrc32(bytes)) + gLittleEndian(static_cast<quint32>(bytes.size()));
}
