// SPDX-License-Identifier: MIT

#pragma once

#include "update/base/LoopTurn.h"

#include <QByteArray>
#include <QString>
#include <QtGlobal>

#include <memory>
#include <vector>

/// What the plan and the downloaders of its ranges share. There is one for the process; it is made
/// known to an update through its `UpdateContext`.
///
/// Thread: GUI thread only; there are no locks.
struct DownloadState {
    /// A plan is being downloaded; cleared by the range that ends it.
    bool downloadStarted = false;
    /// Bytes of the package that are written in place, all ranges together.
    qint64 alreadyDownloaded = 0;
    /// Ranges of this plan that were not complete when it started.
    int activeSegments = 0;
    /// Ranges that have ended since the last completion.
    int finishedSegments = 0;
    /// The version of the package that this plan's bytes come from, as the server named it first;
    /// empty until it did.
    QByteArray validator;
    /// Room for what has arrived, while it is written: one for all ranges, kept from chunk to chunk.
    std::vector<char> chunk;
    /// The range that has it writes a chunk.
    std::shared_ptr<LoopTurn> turn = std::make_shared<LoopTurn>();
    /// Path of the installer that is ready to be started.
    QString installerReady;
    /// What a signed manifest said of it; empty when it was not signed.
    QString installerSha256;

    enum class Left {
        /// Ranges are still running, or another one has ended the download already.
        Others,
        /// All bytes are there.
        Nothing,
        /// No range is running any more, and bytes are missing.
        Bytes
    };

    /// A plan begins; no range of it has ended yet.
    void BeginPlan();

    /// Counts one more range as ended. @return what is left of a package of @p packageSize bytes;
    /// `Nothing` and `Bytes` end the download and are returned once for a plan.
    Left CountEndedRange(qint64 packageSize);

    /// Ends the download. @return whether this call was the one that ended it.
    bool EndDownload();

    /// Gives the memory of `chunk` back.
    void ReleaseChunk();
};

/// The state of this process. For the dialog, which hands it in, and for tests.
DownloadState &gDownloadState();
