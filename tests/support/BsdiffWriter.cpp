// SPDX-License-Identifier: MIT

#include "tests/support/BsdiffWriter.h"

#include <QtEndian>

#include <bzlib.h>

void BsdiffWriter::AddStep(const QByteArray &diff, const QByteArray &extra, qint64 skipped)
{
    m_blocks.control += Number(diff.size()) + Number(extra.size()) + Number(skipped);
    m_blocks.diff += diff;
    m_blocks.extra += extra;
}

QByteArray BsdiffWriter::Build() const
{
    return Build(m_blocks, NewSize());
}

QByteArray BsdiffWriter::Build(const Blocks &unpacked, qint64 newSize)
{
    return Assemble({Packed(unpacked.control), Packed(unpacked.diff), Packed(unpacked.extra)},
                    newSize);
}

QByteArray BsdiffWriter::Assemble(const Blocks &packed, qint64 newSize)
{
    return QByteArrayLiteral("BSDIFF40") + Number(packed.control.size()) +
           Number(packed.diff.size()) + Number(newSize) + packed.control + packed.diff +
           packed.extra;
}

QByteArray BsdiffWriter::Packed(const QByteArray &block)
{
    constexpr int hundredKilobytes = 1; // the smallest: unpacking takes the least memory
    // No block grows by more than one percent and 600 bytes.
    auto size = static_cast<unsigned int>(block.size() + block.size() / 100 + 601);
    QByteArray packed(static_cast<int>(size), Qt::Uninitialized);
    const int result =
        BZ2_bzBuffToBuffCompress(packed.data(), &size, const_cast<char *>(block.constData()),
                                 static_cast<unsigned int>(block.size()), hundredKilobytes, 0, 0);
    if (result != BZ_OK) {
        return {};
    }
    packed.truncate(static_cast<int>(size));
    return packed;
}

QByteArray BsdiffWriter::Number(qint64 value)
{
    constexpr quint64 signBit = quint64(1) << 63;
    const quint64 stored =
        value < 0 ? static_cast<quint64>(-value) | signBit : static_cast<quint64>(value);
    QByteArray bytes(static_cast<int>(sizeof stored), Qt::Uninitialized);
    qToLittleEndian(stored, bytes.data());
    return bytes;
}
