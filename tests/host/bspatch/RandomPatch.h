// SPDX-License-Identifier: MIT

#pragma once

#include "tests/support/BsdiffWriter.h"

#include <QByteArray>

/// A patch for any content with steps as any tool might make them.
struct RandomPatch {
    BsdiffWriter writer;
    /// What the patch makes.
    QByteArray newContent;

    /// Steps for @p old, short and long ones, also to places outside of the old file, but not before
    /// @p lowest. The same arguments give the same patch.
    static RandomPatch Make(const QByteArray &old, int newSize, int longestStep, int lowest);

    /// What @p diff makes of the old file's bytes from @p position on.
    static QByteArray Sum(const QByteArray &old, qint64 position, const QByteArray &diff);
};
