// SPDX-License-Identifier: MIT

#pragma once

#include "update/base/UpdateContext.h"
#include "update/plan/DownloadTarget.h"
#include "update/plan/ResumePoint.h"
#include "update/plan/ResumeState.h"

#include <QObject>
#include <QPointer>
#include <QString>

#include <array>
#include <memory>

class DownloadMgr;
class FlushSchedule;
class PlanFiles;
class ProcessLock;

/// One plan: a package of a known size, its five ranges, and the downloaders that fetch them.
///
///     Plan ─► lock ─┬─► an earlier download goes on: what is left of each range
///                   └─► a fresh start
///     StartRanges ─┬─► goes on: the state is written anew
///                  └─► fresh: a new file, a state for it, and it takes the target's name
///                        └─► a DownloadMgr for each range with bytes missing ─► the signals below
///     CloseRange, CloseAll, End ─► the ranges that still run are ended
///
/// Thread:    GUI thread.
/// Ownership: its Qt parent. The resume state outlives it. The host may delete it in any slot.
/// Errors:    `Error` carries a text for the user; the log says why.
class PackageDownload : public QObject
{
    Q_OBJECT

public:
    /// @param total          size of the package in bytes
    /// @param oldPackagePath the installer that an incremental package applies to, null for a full
    ///                       package
    PackageDownload(const DownloadTarget &target, const QString &oldPackagePath, qint64 total,
                    ResumeState &state, const UpdateContext &context, QObject *parent);
    ~PackageDownload() override;

    /// Takes the lock of the packages, then reads where an earlier download of the package stopped.
    /// @return false when another process has the lock, or when the size is 0
    bool Plan();
    /// The plan does not go on with an earlier download.
    bool IsFresh() const { return m_isFresh; }

    /// Starts the downloaders once pool threads have made the files. The lock is held until the package
    /// is in place or all of them have ended.
    void StartRanges();

    qint64 Total() const { return m_total; }
    /// Bytes that the user is shown as downloaded.
    qint64 Downloaded() const { return m_downloaded; }
    /// Adds @p bytes to what the user is shown.
    void AddDownloaded(qint64 bytes) { m_downloaded += bytes; }

    /// Saves how far a range has come, and ends it, if it runs. With the last range the plan is over.
    /// @param rangeNumber 1 to 5
    void CloseRange(int rangeNumber);
    /// Closes every range.
    void CloseAll();

    /// Ends every range and deletes the downloaders. The resume state stays as last written.
    void End();

signals:
    /// What `DownloadMgr` emits under these names.
    void DownloadProgress(qint64 bytesReceived, qint64 bytesTotal);
    void Error(const QString &text);
    void Close();
    void BeginInstall();
    void CancelInstall();
    void InstallStarted();
    void PatchIncreasePackageFaild();
    /// The disk could not keep the data, or did not let a new file take the target's name; every range
    /// has been ended.
    void DiskFailed();

private slots:
    void RunRanges();
    void RunWithoutNewFile();
    void EndPlanWithTheLastRange();
    void EndAfterDiskFailure();
    void RememberFailedPatch();

private:
    void StartRange(int rangeNumber, ByteRange range, const std::shared_ptr<ProcessLock> &lock);
    void Connect(DownloadMgr *downloader);
    void EndPlan();
    void CountWritten();
    void StopOthers(const DownloadMgr *downloader);

    DownloadTarget m_target;
    QString m_oldPackagePath;
    qint64 m_total;
    ResumeState &m_resumeState;
    UpdateContext m_context;
    FlushSchedule *m_flushSchedule;
    PlanFiles *m_files;
    /// Held from `Plan` until the downloaders hold it.
    std::shared_ptr<ProcessLock> m_lock;
    ResumePoint m_start;
    std::array<QPointer<DownloadMgr>, ResumeState::rangeCount> m_downloaders;
    /// From `Plan` to `EndPlan`.
    bool m_isPlanned = false;
    bool m_isFresh = false;
    qint64 m_downloaded = 0;
    /// Written bytes that the flush schedule has been given.
    qint64 m_counted = 0;
};
