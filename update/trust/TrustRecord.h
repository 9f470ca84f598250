// SPDX-License-Identifier: MIT

#pragma once

#include <QDateTime>
#include <QString>
#include <QtGlobal>

#include <optional>

/// What this installation remembers of the signed manifests that it has accepted: keys `TrustSerial` and
/// `TrustTime` in group "Quillon" of the product settings.
///
/// Thread: GUI thread.
struct TrustRecord {
    /// The highest serial so far; 0 before the first.
    quint64 serial = 0;
    /// When a manifest that expires was accepted last, by this machine's clock. Invalid before the first.
    QDateTime time;

    /// Reads the record out of the settings file at @p path.
    /// @return nothing when the file cannot be read, is damaged so that it could have lost them, or holds
    ///         a value that is none. A file that ends too early between two lines shows no damage.
    static std::optional<TrustRecord> Read(const QString &path);

    /// Writes the record into the settings file at @p path; other settings stay.
    /// @return false when the disk did not take it
    bool Write(const QString &path) const;
};
