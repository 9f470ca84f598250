// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QtGlobal>

/// Writes binary patches step by step, also patches that no tool makes.
class BsdiffWriter
{
public:
    /// The three blocks of a patch, unpacked.
    struct Blocks {
        QByteArray control;
        QByteArray diff;
        QByteArray extra;
    };

    /// One step that is in order: @p diff is added to the old file, @p extra follows, and the old
    /// file goes on @p skipped bytes further.
    void AddStep(const QByteArray &diff, const QByteArray &extra, qint64 skipped);

    const Blocks &Unpacked() const { return m_blocks; }
    /// The size of the new file that the steps so far make.
    qint64 NewSize() const { return m_blocks.diff.size() + m_blocks.extra.size(); }

    /// The patch of the steps so far.
    QByteArray Build() const;

    /// A patch of any blocks, even if they do not fit one another.
    static QByteArray Build(const Blocks &unpacked, qint64 newSize);
    /// Puts blocks that are packed already behind a header that fits them.
    static QByteArray Assemble(const Blocks &packed, qint64 newSize);
    static QByteArray Packed(const QByteArray &block);
    /// @p value as a patch stores it: eight bytes, the magnitude and a sign bit.
    static QByteArray Number(qint64 value);

private:
    Blocks m_blocks;
};
