// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>
#include <QtGlobal>

/// What the planner and the downloaders of all ranges share, process-wide.
///
/// Thread: GUI thread only; there are no locks.
struct DownloadState {
    /// Bytes of each of the ranges 1 to 4; the last range takes the remainder as well.
    qint64 segmentSize = 0;
    /// A plan is being downloaded; cleared by the range that ends it.
    bool downloadStarted = false;
    /// Bytes of the package that are written, all ranges together.
    qint64 alreadyDownloaded = 0;
    /// Ranges of this plan that were not complete when it started.
    int activeSegments = 0;
    /// Ranges that have ended since the last completion.
    int finishedSegments = 0;
    /// What the server told this plan about the version of the package; empty until it told.
    QByteArray validator;
    /// Path of the installer that is ready to be started.
    QString installerReady;

    enum class Left {
        /// Ranges are still running, or another one has ended the download already.
        Others,
        /// All bytes are there.
        Nothing,
        /// No range is running any more, and bytes are missing.
        Bytes
    };

    /// One more range has ended. @return what is left then of a package of @p packageSize bytes;
    /// `Nothing` and `Bytes` end the download and come once.
    Left CountEndedRange(qint64 packageSize);
};

DownloadState &gDownloadState();
