// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QtGlobal>

#include <array>

/// The resume state on disk, read without the code of the module.
struct DiskState {
    static constexpr int rangeCount = 5;
    using Bytes = std::array<qint64, rangeCount>;

    qint64 packageSize = 0;
    Bytes start{};
    Bytes flushed{};
    QString boot;

    static DiskState Read(const QString &path);
};

/// The first bytes of the five ranges of a package of @p total bytes, followed by its size.
std::array<qint64, DiskState::rangeCount + 1> gRangeBounds(qint64 total);
