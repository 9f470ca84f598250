// SPDX-License-Identifier: MIT

#include "update/plan/ResumePoint.h"

#include "api/Log.h"

#include <QFile>

#include <algorithm>

namespace
{
void gTakeBack(const ResumeState &state, qint64 total, ResumePoint *point)
{
    point->isTakenBack = true;
    point->alreadyDownloaded = 0;
    const auto planned = gSplitIntoRanges(total);
    for (size_t index = 0; index < planned.size(); ++index) {
        ByteRange &range = point->ranges.at(index);
        const qint64 first = planned.at(index).start;
        const qint64 flushed = state.FlushedByte(static_cast<int>(index) + 1);
        range.start = std::min(range.start, std::max(flushed, first));
        point->alreadyDownloaded += std::max<qint64>(0, range.start - first);
    }
}
} // namespace

ResumePoint gResumePoint(const ResumeState &state, qint64 total, const QString &boot)
{
    ResumePoint point;
    point.alreadyDownloaded = state.AlreadyDownloaded();
    int number = 1;
    for (ByteRange &range : point.ranges) {
        range = {state.StartByte(number), state.EndByte(number)};
        ++number;
    }
    const bool isThisBoot = !boot.isEmpty() && state.BootId() == boot;
    if (state.KnowsBoot() && !isThisBoot) {
        gTakeBack(state, total, &point);
    }
    return point;
}

bool gIsUsable(const ResumePoint &point, qint64 total)
{
    const auto &ranges = point.ranges;
    const bool isPossible = std::all_of(ranges.begin(), ranges.end(), [](const ByteRange &range) {
        return range.start >= 0 && range.start <= range.end + 1;
    });
    const bool hasMissing = std::any_of(ranges.begin(), ranges.end(),
                                        [](const ByteRange &range) { return !range.IsEmpty(); });
    return isPossible && (hasMissing || point.alreadyDownloaded == total);
}

bool gBelongsTo(const ResumeState &state, const DownloadIdentity &download)
{
    if (!state.KnowsIdentity()) {
        return true;
    }
    const DownloadIdentity recorded = state.Identity();
    return !recorded.targetFile.isEmpty() && recorded.targetFile == download.targetFile &&
           recorded.packageMd5 == download.packageMd5 && recorded.version == download.version;
}

bool gCanResume(const ResumeState &state, const ResumePoint &point, qint64 total,
                const QString &target, const DownloadIdentity &download)
{
    if (state.PackageSize() != total || !QFile::exists(target)) {
        return false;
    }
    if (!gBelongsTo(state, download)) {
        QUILLON_LOG("LiveUpdateMgr", "LiveUpdateMgr::StartDownload",
                    "the resume state belongs to another package or file, starting anew");
        return false;
    }
    return gIsUsable(point, total);
}

ResumePoint gFreshStart(qint64 total)
{
    ResumePoint point;
    point.ranges = gSplitIntoRanges(total);
    return point;
}

void gSetPlan(ResumeState *state, qint64 total, const ResumePoint &point, const QString &boot,
              const DownloadIdentity &download)
{
    state->SetAlreadyDownloaded(point.alreadyDownloaded);
    state->SetPackageSize(total);
    state->SetBootId(boot);
    state->SetIdentity(download);
    int number = 1;
    for (const ByteRange &range : point.ranges) {
        state->SetEndByte(number, range.end);
        state->SetStartByte(number, range.start);
        state->SetFlushedByte(number, range.start);
        ++number;
    }
}
