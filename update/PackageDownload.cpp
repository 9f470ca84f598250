// SPDX-License-Identifier: MIT

#include "update/PackageDownload.h"

#include "platform/ProcessLock.h"
#include "update/base/DownloadState.h"
#include "update/base/DownloadSystem.h"
#include "update/plan/FlushSchedule.h"
#include "update/plan/PackageFolder.h"
#include "update/plan/PlanFiles.h"
#include "update/UpdateCommon/DownloadMgr.h"

#include <QFileInfo>

#include <algorithm>
#include <utility>

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
    , m_files(new PlanFiles(target, total, state, context, this))
{
    connect(m_flushSchedule, &FlushSchedule::Failed, this, &PackageDownload::EndAfterDiskFailure);
    connect(m_files, &PlanFiles::Ready, this, &PackageDownload::RunRanges);
    connect(m_files, &PlanFiles::NotMade, this, &PackageDownload::RunWithoutNewFile);
}

PackageDownload::~PackageDownload()
{
    EndPlan();
}

// --- The plan --------------------------------------------------------------------------------------

bool PackageDownload::Plan()
{
    m_lock = gLockPackages();
    if (m_lock == nullptr) {
        return false;
    }
    m_context.state.BeginPlan();
    m_resumeState.Close();
    m_resumeState.Reload();
    if (m_total == 0) {
        m_lock.reset();
        return false;
    }
    m_isPlanned = true;
    m_start = gResumePoint(m_resumeState, m_total, m_context.system.bootIdentity());
    m_isFresh = !gCanResume(m_resumeState, m_start, m_total, m_target.path,
                            m_files->IdentityWith(m_target.path));
    if (m_isFresh) {
        m_start = gFreshStart(m_total);
    }
    const auto &ranges = m_start.ranges;
    m_downloaded = m_start.alreadyDownloaded;
    m_context.state.alreadyDownloaded = m_start.alreadyDownloaded;
    m_context.state.activeSegments =
        m_isFresh ? ResumeState::rangeCount
                  : static_cast<int>(
                        std::count_if(ranges.begin(), ranges.end(),
                                      [](const ByteRange &range) { return !range.IsEmpty(); }));
    return true;
}

void PackageDownload::StartRanges()
{
    if (m_lock == nullptr) {
        return; // The plan was closed or ended meanwhile.
    }
    if (m_isFresh) {
        m_files->StartAnew(m_start, m_lock);
    } else {
        m_files->GoOn(m_start, m_lock);
    }
}

/// The ranges start all the same, and report what fails. A file that is there is not written into: the
/// state of another account may go on with it.
void PackageDownload::RunWithoutNewFile()
{
    if (QFileInfo(m_target.path).isFile()) {
        EndAfterDiskFailure();
    } else {
        RunRanges();
    }
}

// --- The downloaders -------------------------------------------------------------------------------

void PackageDownload::RunRanges()
{
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
        const ByteRange range = m_start.ranges.at(static_cast<size_t>(number - 1));
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
    downloader->SetPackageMd5(m_target.packageMd5);
    downloader->SetSignedPackage(m_target.signedPackage);
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
    connect(downloader, &DownloadMgr::Error, this, &PackageDownload::EndPlanWithTheLastRange);
    connect(downloader, &DownloadMgr::Error, this, &PackageDownload::Error);
    connect(downloader, &DownloadMgr::PatchIncreasePackageFaild, this,
            &PackageDownload::RememberFailedPatch);
    // The package may be complete while other ranges run, when a server sent the whole of it for
    // one: they close the file before it is moved into place.
    connect(downloader, &DownloadMgr::DownloadFinished, this, [this, downloader] {
        StopOthers(downloader);
        EndPlan();
    });
}

/// Passes on what has been written in place since the last call. A redirected package is in no
/// resume state, and adds nothing.
void PackageDownload::CountWritten()
{
    const qint64 written = m_context.state.alreadyDownloaded;
    m_flushSchedule->Written(written - m_counted);
    m_counted = written;
}

void PackageDownload::RememberFailedPatch()
{
    m_resumeState.SetFailedPatch(m_target.expectedMd5);
    m_resumeState.Sync();
    EndPlan();
    emit PatchIncreasePackageFaild();
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
        EndPlan();
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

/// As behind the last range that is closed.
void PackageDownload::EndPlanWithTheLastRange()
{
    const bool isRunning =
        std::any_of(m_downloaders.begin(), m_downloaders.end(), [](const auto &downloader) {
            return downloader != nullptr && downloader->IsRunning();
        });
    if (!isRunning) {
        EndPlan();
    }
}

/// The lock and the state may be another process's from here on. Without a plan they are that of another
/// dialog of this process.
void PackageDownload::EndPlan()
{
    if (!std::exchange(m_isPlanned, false)) {
        return;
    }
    m_files->Cancel();
    m_flushSchedule->End();
    m_resumeState.Close();
    m_context.state.ReleaseChunk();
    m_lock.reset();
}

void PackageDownload::End()
{
    EndPlan();
    for (QPointer<DownloadMgr> &downloader : m_downloaders) {
        if (downloader != nullptr) {
            downloader->Stop();
            downloader->deleteLater();
            downloader.clear();
        }
    }
}

void PackageDownload::EndAfterDiskFailure()
{
    End();
    m_context.state.downloadStarted = false;
    emit DiskFailed();
}
