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

/// What a loss of power leaves of a package file: what was flushed, and of the rest, at random, the
/// new bytes, zeros, bytes that were there before, or nothing at all.
struct PowerLoss {
    /// Nothing: the file is gone. That happens only to one that was never flushed.
    std::optional<QByteArray> data;
    QString how;

    static PowerLoss Of(const RecordedMoment &moment, QRandomGenerator *random);
};
