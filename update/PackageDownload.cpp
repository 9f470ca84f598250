// SPDX-License-Identifier: MIT

#include "update/PackageDownload.h"

#include "api/Log.h"
#include "platform/ProcessLock.h"
#include "update/base/DownloadState.h"
#include "update/base/DownloadSystem.h"
#include "update/base/FileReplacement.h"
#include "update/plan/FlushSchedule.h"
#include "update/plan/PackageFolder.h"
#include "update/UpdateCommon/DownloadMgr.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <utility>

namespace
{
constexpr char logFile[] = "LiveUpdateMgr";
constexpr char logFunction[] = "LiveUpdateMgr::StartDownload";

QString gFolderOf(const QString &file)
{
    return QFileInfo(file).path();
}
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
    , m_replacement(new FileReplacement(context.system, this))
{
    connect(m_flushSchedule, &FlushSchedule::Failed, this, &PackageDownload::EndAfterDiskFailure);
    connect(m_replacement, &FileReplacement::Replaced, this, &PackageDownload::AfterReplacement);
    connect(m_replacement, &FileReplacement::Failed, this,
            &PackageDownload::AfterFailedReplacement);
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
    m_isFresh =
        !gCanResume(m_resumeState, point, m_total, m_target.path, IdentityWith(m_target.path));
    if (m_isFresh) {
        StartAnew(gFreshStart(m_total));
    } else {
        Resume(point);
    }
    return true;
}

DownloadIdentity PackageDownload::IdentityWith(const QString &file) const
{
    // In one line: the state has a line for each value, and a manifest may break them.
    return {m_context.system.fileIdentity(file), gIdentifyingMd5(m_target).simplified(),
            m_target.version.simplified()};
}

void PackageDownload::Resume(const ResumePoint &point)
{
    if (point.isTakenBack) {
        QUILLON_LOG(logFile, logFunction, "the machine was started again, going on with %lld bytes",
                    static_cast<long long>(point.alreadyDownloaded));
        gRecordPlan(&m_resumeState, m_total, point, m_context.system.bootIdentity(),
                    IdentityWith(m_target.path));
    } else if (!m_resumeState.KnowsIdentity()) {
        // From now on the word of another version of the module holds for this file and package only.
        m_resumeState.SetIdentity(IdentityWith(m_target.path));
        m_resumeState.Sync();
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
    // In this order, a process that ends in between leaves no file that a plan wrongly fits: the plan
    // names the new file, and is on disk before that takes the place of the old one.
    const QString newFile = gNewTarget(m_target.path);
    QFile::remove(newFile); // of a process that ended in between; its plan must not fit this one
    m_newFile = gCreateEmptyFile(newFile, m_total) ? newFile : QString();
    gRecordPlan(&m_resumeState, m_total, start, m_context.system.bootIdentity(),
                IdentityWith(m_newFile.isEmpty() ? m_target.path : m_newFile));
    m_context.system.flushFolder(m_context.configDirectory);
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
    if (!m_isFresh) {
        RunRanges();
    } else if (m_newFile.isEmpty()) {
        RunWithoutNewFile();
    } else {
        m_replacement->Start(m_newFile, m_target.path, logFunction);
    }
}

void PackageDownload::AfterReplacement()
{
    m_newFile.clear();
    // Windows may give a file the time of another one that had its name a moment before.
    const DownloadIdentity identity = IdentityWith(m_target.path);
    if (identity.targetFile != m_resumeState.Identity().targetFile) {
        m_resumeState.SetIdentity(identity);
        m_resumeState.Sync();
    }
    m_context.system.flushFolder(gFolderOf(m_target.path));
    RunRanges();
}

void PackageDownload::AfterFailedReplacement()
{
    QUILLON_LOG(logFile, "LiveUpdateMgr::CreateEmptyFile", "Create file Filed!");
    QFile::remove(m_newFile);
    m_newFile.clear();
    RunWithoutNewFile();
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
    downloader->SetPackageMd5(m_target.packageMd5);
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
    connect(downloader, &DownloadMgr::Error, this, &PackageDownload::EndFlushesWithTheLastRange);
    connect(downloader, &DownloadMgr::Error, this, &PackageDownload::Error);
    connect(downloader, &DownloadMgr::PatchIncreasePackageFaild, this,
            &PackageDownload::RememberFailedPatch);
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

void PackageDownload::RememberFailedPatch()
{
    m_resumeState.SetFailedPatch(m_target.expectedMd5);
    m_resumeState.Sync();
    emit PatchIncreasePackageFaild();
}

/// The lock is given back with the last range: from then on the state may be another process's.
void PackageDownload::EndFlushesWithTheLastRange()
{
    const bool isRunning =
        std::any_of(m_downloaders.begin(), m_downloaders.end(), [](const auto &downloader) {
            return downloader != nullptr && downloader->IsRunning();
        });
    if (!isRunning) {
        m_flushSchedule->End();
    }
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
        m_replacement->Cancel();
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
    m_replacement->Cancel();
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

void PackageDownload::EndAfterDiskFailure()
{
    End();
    m_context.state.downloadStarted = false;
    emit DiskFailed();
}
