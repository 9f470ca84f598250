// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

class QRandomGenerator;

/// What was on disk at one moment of a download.
struct RecordedMoment {
    QByteArray state;
    /// The package file as every process saw it.
    QByteArray data;
    /// The same file as it was when its last flush began; nothing when it has never been flushed.
    std::optional<QByteArray> flushed;
};

/// A package file after a loss of power: the flushed bytes are kept; the rest is, at random, the
/// new bytes, zeros, the bytes from before, or cut off.
struct PowerLoss {
    /// None when the file is gone, which happens only to one that was never flushed.
    std::optional<QByteArray> data;
    QString how;

    static PowerLoss Of(const RecordedMoment &moment, QRandomGenerator *random);
};
