// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

class EventSink;
struct PackageOffer;

/// Which package an "Update Now" downloads.
struct PackageChoice {
    enum class Kind {
        /// No version is named, so nothing is downloaded.
        Nothing,
        Incremental,
        Full
    };

    Kind kind = Kind::Full;
    /// The installer that an incremental package applies to; null for a full one.
    QString keptInstaller;
};

/// Chooses the incremental package when the installer of @p currentVersion that it applies to was
/// kept and the names of its files allow it, and the full one otherwise. Reads every kept installer
/// of that version to the end.
///
/// Thread: GUI thread. Errors: logged; a kept installer with another MD5 is reported to @p events.
PackageChoice gChoosePackage(const PackageOffer &offer, const QString &currentVersion,
                             EventSink &events);
