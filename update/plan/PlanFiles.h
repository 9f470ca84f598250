// SPDX-License-Identifier: MIT

#pragma once

#include "update/base/UpdateContext.h"
#include "update/plan/DownloadTarget.h"
#include "update/plan/ResumePoint.h"

#include <QObject>
#include <QString>

#include <atomic>
#include <memory>

class FileReplacement;
class ProcessLock;

/// Puts a plan on disk: the resume state, and for a fresh start the empty target. Pool threads wait
/// for the disk.
///
///     GoOn ──────────────────────────► the state is written anew ─────────────────────► Ready
///     StartAnew ─► a new empty file ─► the state is written for it ─► it takes the
///                    │                                                target's name ───► Ready
///                    └─► there is none: written for no file ─► NotMade ◄─┘ it cannot
///
/// Thread:    GUI thread. Ownership: its Qt parent. The state and what the context names outlive it.
/// Errors:    a state that cannot be written is logged, and the plan goes on without it.
class PlanFiles : public QObject
{
    Q_OBJECT

public:
    /// @param total size of the package in bytes
    PlanFiles(const DownloadTarget &target, qint64 total, ResumeState &state,
              const UpdateContext &context, QObject *parent);

    /// What a state of this package in @p file belongs to.
    DownloadIdentity IdentityWith(const QString &file) const;

    /// @param lock kept until no thread is at work, also behind `Cancel`
    void StartAnew(const ResumePoint &start, const std::shared_ptr<ProcessLock> &lock);
    void GoOn(const ResumePoint &start, const std::shared_ptr<ProcessLock> &lock);
    /// No signal follows.
    void Cancel();

signals:
    void Ready();
    /// The target is as it was: no new file has taken its name.
    void NotMade();

private:
    void Plan(const ResumePoint &start, const QString &file);
    void Write(void (PlanFiles::*next)());
    void EndWrite(bool isWritten);
    void Replace();
    void DropNewFile();
    void AfterReplacement();
    void FlushName();
    void EndReady();
    void EndNotMade();

    DownloadTarget m_target;
    qint64 m_total;
    ResumeState &m_state;
    UpdateContext m_context;
    FileReplacement *m_replacement;
    /// Held while something is under way.
    std::shared_ptr<ProcessLock> m_lock;
    /// The file of a fresh start, until it has the target's name; empty when there is none.
    QString m_newFile;
    /// Tells the thread that writes the state when nobody waits for it any more; null when none does.
    std::shared_ptr<std::atomic<bool>> m_isGivenUp;
    bool m_isFresh = false;
    /// Counts starts and cancels, so that work of an earlier run is ignored.
    int m_run = 0;
};
