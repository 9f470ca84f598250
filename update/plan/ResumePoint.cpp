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

bool gIsUsable(const ResumePoint &point)
{
    return std::all_of(point.ranges.begin(), point.ranges.end(), [](const ByteRange &range) {
        return range.start >= 0 && range.start <= range.end + 1;
    });
}

ResumePoint gFreshStart(qint64 total)
{
    ResumePoint point;
    point.ranges = gSplitIntoRanges(total);
    return point;
}

bool gRecordPlan(ResumeState *state, qint64 total, const ResumePoint &point, const QString &boot)
{
    state->SetAlreadyDownloaded(point.alreadyDownloaded);
    state->SetPackageSize(total);
    state->SetBootId(boot);
    int number = 1;
    for (const ByteRange &range : point.ranges) {
        state->SetEndByte(number, range.end);
        state->SetStartByte(number, range.start);
        state->SetFlushedByte(number, range.start);
        ++number;
    }
    if (state->Sync()) {
        return true;
    }
    QUILLON_LOG("LiveUpdateMgr", "LiveUpdateMgr::StartDownload",
                "disk failure, the resume state cannot be written, file path = %s",
                state->Path().toStdString().c_str());
    if (!point.isTakenBack) {
        QFile::remove(state->Path());
    }
    return false;
}
