// SPDX-License-Identifier: MIT

#pragma once

#include "tests/support/BsdiffWriter.h"

#include <QByteArray>

/// A valid patch of random steps, of which some are unlike those that bsdiff makes.
struct RandomPatch {
    BsdiffWriter writer;
    /// The expected content of the new file.
    QByteArray newContent;

    /// Steps for @p old, short and long ones, also to places outside of the old file, but not
    /// before
    /// @p lowest. The same arguments give the same patch.
    static RandomPatch Make(const QByteArray &old, int newSize, int longestStep, int lowest);

    /// The sum of @p diff and the old file's bytes from @p position on, byte by byte.
    static QByteArray Sum(const QByteArray &old, qint64 position, const QByteArray &diff);
};
