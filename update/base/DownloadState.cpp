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
    // Of this application object: a turn that an earlier one never came round to would stay taken.
    turn = std::make_shared<LoopTurn>();
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
    ReleaseChunk();
    return wasStarted;
}

void DownloadState::ReleaseChunk()
{
    std::vector<char>().swap(chunk);
}
