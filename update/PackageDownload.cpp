// SPDX-License-Identifier: MIT

#include "update/PackageDownload.h"

#include "api/Log.h"
#include "api/QuillonInit.h"
#include "platform/ProcessLock.h"
#include "update/base/DownloadState.h"
#include "update/base/DownloadSystem.h"
#include "update/plan/FlushSchedule.h"
#include "update/plan/PackageFolder.h"
#include "update/UpdateCommon/DownloadMgr.h"

#include <QFile>

#include <algorithm>
#include <utility>

namespace
{
constexpr char logFile[] = "LiveUpdateMgr";
constexpr char logFunction[] = "LiveUpdateMgr::StartDownload";
} // namespace

PackageDownload::PackageDownload(const DownloadTarget &target, const QString &oldPackagePath,
                                 qint64 total, ResumeState &state, const UpdateContext &context,
                                 QObject *parent)
    : QObject(parent)
    , m_target(target)
    , m_oldPackagePath(oldPackagePath)
    , m_total(total)
    , m_resumeState(state)
    , m_context(context)
    , m_flushSchedule(new FlushSchedule(state, context.system, this))
{
    connect(m_flushSchedule, &FlushSchedule::Failed, this, &PackageDownload::EndAfterFlushFailure);
}

// --- The plan --------------------------------------------------------------------------------------

bool PackageDownload::Plan()
{
    m_lock = gLockPackages();
    if (m_lock == nullptr) {
        return false;
    }
    m_context.state.BeginPlan();
    m_resumeState.Sync();
    if (m_total == 0) {
        m_lock.reset();
        return false;
    }
    const ResumePoint point = gResumePoint(m_resumeState, m_total, m_context.system.bootIdentity());
    const bool isResumed =
        m_resumeState.PackageSize() == m_total && QFile::exists(m_target.path) && gIsUsable(point);
    m_isFresh = !isResumed;
    if (isResumed) {
        Resume(point);
    } else {
        StartAnew(gFreshStart(m_total));
    }
    return true;
}

void PackageDownload::Resume(const ResumePoint &point)
{
    if (point.isTakenBack) {
        QUILLON_LOG(logFile, logFunction, "the machine was started again, going on with %lld bytes",
                    static_cast<long long>(point.alreadyDownloaded));
        gRecordPlan(&m_resumeState, m_total, point, m_context.system.bootIdentity());
    }
    m_ranges = point.ranges;
    m_downloaded = point.alreadyDownloaded;
    DownloadState &state = m_context.state;
    state.alreadyDownloaded = point.alreadyDownloaded;
    state.activeSegments = static_cast<int>(std::count_if(
        m_ranges.begin(), m_ranges.end(), [](const ByteRange &range) { return !range.IsEmpty(); }));
}

void PackageDownload::StartAnew(const ResumePoint &start)
{
    // In this order, a process that ends in between leaves no file that an old plan seems to fit:
    // first the old file is removed, then the plan is on disk, then the new file is made.
    QFile::remove(m_target.path);
    gRecordPlan(&m_resumeState, m_total, start, m_context.system.bootIdentity());
    gFlushFolder(QuillonInit::GetConfigFileDir());
    gCreateEmptyFile(m_target.path, m_total);
    m_ranges = start.ranges;
    m_context.state.alreadyDownloaded = 0;
    m_context.state.activeSegments = ResumeState::rangeCount;
}

// --- The downloaders -------------------------------------------------------------------------------

void PackageDownload::StartRanges()
{
    if (m_lock == nullptr) {
        return; // The plan was closed or ended meanwhile.
    }
    const std::shared_ptr<ProcessLock> lock = std::move(m_lock);
    m_counted = m_context.state.alreadyDownloaded;
    m_flushSchedule->Begin(m_target.path);
    // All bytes may be there, when the process ended before the package was put in place. The last
    // range is started then, and completes it.
    const bool isComplete = m_context.state.activeSegments == 0;
    if (isComplete) {
        m_context.state.activeSegments = 1;
    }
    const QPointer<PackageDownload> alive(this);
    for (int number = 1; number <= ResumeState::rangeCount && alive != nullptr; ++number) {
        const ByteRange range = m_ranges.at(static_cast<size_t>(number - 1));
        const bool isCompletion = isComplete && number == ResumeState::rangeCount;
        if (m_isFresh || !range.IsEmpty() || isCompletion) {
            StartRange(number, range, lock);
        }
    }
}

void PackageDownload::StartRange(int rangeNumber, ByteRange range,
                                 const std::shared_ptr<ProcessLock> &lock)
{
    auto *downloader = new DownloadMgr(m_context, this);
    m_downloaders.at(static_cast<size_t>(rangeNumber - 1)) = downloader;
    downloader->HoldLock(lock);
    Connect(downloader);
    downloader->ResumeDownload(m_target.path, m_target.url, m_target.installerPath, range.start,
                               range.end, rangeNumber, m_target.isIncremental, m_target.expectedMd5,
                               m_oldPackagePath);
}

void PackageDownload::Connect(DownloadMgr *downloader)
{
    connect(downloader, &DownloadMgr::DownloadProgress, this, &PackageDownload::DownloadProgress);
    connect(downloader, &DownloadMgr::DownloadProgress, this, &PackageDownload::CountWritten);
    connect(downloader, &DownloadMgr::Close, this, &PackageDownload::Close);
    connect(downloader, &DownloadMgr::BeginInstall, this, &PackageDownload::BeginInstall);
    connect(downloader, &DownloadMgr::InstallStarted, this, &PackageDownload::InstallStarted);
    connect(downloader, &DownloadMgr::CancelInstall, this, &PackageDownload::CancelInstall);
    connect(downloader, &DownloadMgr::Error, this, &PackageDownload::Error);
    connect(downloader, &DownloadMgr::PatchIncreasePackageFaild, this,
            &PackageDownload::PatchIncreasePackageFaild);
    // The package may be complete while other ranges run, when a server sent the whole of it for
    // one: they close the file before it is moved into place.
    connect(downloader, &DownloadMgr::DownloadFinished, this,
            [this, downloader] { StopOthers(downloader); });
}

/// Passes on what has been written in place since the last call. A redirected package is in no
/// resume state, and adds nothing.
void PackageDownload::CountWritten()
{
    const qint64 written = m_context.state.alreadyDownloaded;
    m_flushSchedule->Written(written - m_counted);
    m_counted = written;
}

// --- The ends --------------------------------------------------------------------------------------

void PackageDownload::CloseRange(int rangeNumber)
{
    DownloadMgr *downloader = m_downloaders.at(static_cast<size_t>(rangeNumber - 1));
    if (downloader != nullptr && downloader->IsRunning()) {
        downloader->SaveResumeState();
        downloader->Stop();
        // Only by a plan that runs: another dialog of this process may be downloading.
        m_context.state.downloadStarted = false;
    }
    if (rangeNumber == ResumeState::rangeCount) {
        // The last range gives the lock back: from here on the state may be another process's.
        m_flushSchedule->End();
        m_lock.reset();
    }
}

void PackageDownload::CloseAll()
{
    for (int number = 1; number <= ResumeState::rangeCount; ++number) {
        CloseRange(number);
    }
}

void PackageDownload::StopOthers(const DownloadMgr *downloader)
{
    for (DownloadMgr *other : m_downloaders) {
        if (other != nullptr && other != downloader) {
            other->Stop();
        }
    }
}

void PackageDownload::End()
{
    m_flushSchedule->End();
    m_lock.reset();
    for (QPointer<DownloadMgr> &downloader : m_downloaders) {
        if (downloader != nullptr) {
            downloader->Stop();
            downloader->deleteLater();
            downloader.clear();
        }
    }
}

void PackageDownload::EndAfterFlushFailure()
{
    End();
    m_context.state.downloadStarted = false;
    emit FlushFailed();
}
