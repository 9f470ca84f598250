// SPDX-License-Identifier: MIT

#include "update/base/DownloadState.h"

DownloadState &gDownloadState()
{
    static DownloadState state;
    return state;
}

void DownloadState::BeginPlan()
{
    downloadStarted = true;
    finishedSegments = 0;
    validator.clear();
}

DownloadState::Left DownloadState::CountEndedRange(qint64 packageSize)
{
    if (!downloadStarted) {
        // Another range has completed the package already; one whose bytes were all there may end
        // late.
        return Left::Others;
    }
    finishedSegments += 1;
    const bool allEnded = finishedSegments == activeSegments;
    const bool isComplete = packageSize > 0 && alreadyDownloaded == packageSize;
    if (allEnded || isComplete) {
        EndDownload();
        return isComplete ? Left::Nothing : Left::Bytes;
    }
    return Left::Others;
}

bool DownloadState::EndDownload()
{
    const bool wasStarted = downloadStarted;
    downloadStarted = false;
    finishedSegments = 0;
    chunk = {};
    return wasStarted;
}
