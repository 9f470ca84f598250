// SPDX-License-Identifier: MIT

#include "update/plan/PlanFiles.h"

#include "api/Log.h"
#include "platform/ProcessLock.h"
#include "update/base/BackgroundWork.h"
#include "update/base/DownloadSystem.h"
#include "update/base/FileReplacement.h"
#include "update/plan/StateFile.h"

#include <QFile>
#include <QFileInfo>

namespace
{
constexpr char logFile[] = "LiveUpdateMgr";
constexpr char logFunction[] = "LiveUpdateMgr::StartDownload";
} // namespace

PlanFiles::PlanFiles(const DownloadTarget &target, qint64 total, ResumeState &state,
                     const UpdateContext &context, QObject *parent)
    : QObject(parent)
    , m_target(target)
    , m_total(total)
    , m_state(state)
    , m_context(context)
    , m_replacement(new FileReplacement(context.system, this))
{
    connect(m_replacement, &FileReplacement::Replaced, this, &PlanFiles::AfterReplacement);
    connect(m_replacement, &FileReplacement::Failed, this, &PlanFiles::DropNewFile);
}

DownloadIdentity PlanFiles::IdentityWith(const QString &file) const
{
    // In one line: the state has a line for each value, and a manifest may break them.
    return {m_context.system.fileIdentity(file), gIdentifyingMd5(m_target).simplified(),
            m_target.version.simplified()};
}

void PlanFiles::Cancel()
{
    ++m_run;
    m_replacement->Cancel();
    if (m_isGivenUp != nullptr) {
        *m_isGivenUp = true;
        m_isGivenUp.reset();
        m_state.AbandonReplacement();
    }
    m_lock.reset();
}

// --- The state -------------------------------------------------------------------------------------

void PlanFiles::GoOn(const ResumePoint &start, const std::shared_ptr<ProcessLock> &lock)
{
    Cancel();
    m_lock = lock;
    m_isFresh = false;
    if (start.isTakenBack) {
        QUILLON_LOG(logFile, logFunction, "the machine was started again, going on with %lld bytes",
                    static_cast<long long>(start.alreadyDownloaded));
        Plan(start, m_target.path);
    } else if (!m_state.KnowsIdentity()) {
        // From now on the word of another version of the module holds for this file and package only.
        m_state.SetIdentity(IdentityWith(m_target.path));
    }
    Write(&PlanFiles::EndReady);
}

void PlanFiles::Plan(const ResumePoint &start, const QString &file)
{
    gSetPlan(&m_state, m_total, start, m_context.system.bootIdentity(), IdentityWith(file));
}

/// As a new file, which has room for what each chunk writes over it. Where the plan of a new target
/// cannot be written, an older plan is removed: it would be taken for that of the new, empty file.
void PlanFiles::Write(void (PlanFiles::*next)())
{
    m_isGivenUp = std::make_shared<std::atomic<bool>>(false);
    const auto write = [path = m_state.Path(), text = m_state.BeginReplacement(),
                        patience = m_context.system.replaceLimit, isFresh = m_isFresh,
                        flushFolder = m_context.system.flushFolder, isGivenUp = m_isGivenUp,
                        folder = m_context.configDirectory, held = m_lock]() mutable {
        const bool isWritten = gReplaceStateFile(path, text, patience, isGivenUp.get());
        if (!isWritten && isFresh) {
            QFile::remove(path);
        }
        flushFolder(folder);
        held.reset();
        return isWritten;
    };
    gRunInBackground<bool>(write, this, [this, next, run = m_run](bool isWritten) {
        if (run == m_run) {
            EndWrite(isWritten);
            (this->*next)();
        }
    });
}

void PlanFiles::EndWrite(bool isWritten)
{
    m_isGivenUp.reset();
    m_state.EndReplacement(isWritten);
    if (!isWritten) {
        QUILLON_LOG(logFile, logFunction,
                    "disk failure, the resume state cannot be written, file path = %s",
                    m_state.Path().toStdString().c_str());
    }
}

// --- The target ------------------------------------------------------------------------------------

/// In this order, a process that ends in between leaves no file that a plan wrongly fits: the plan
/// names the new file, and is on disk before that takes the place of the old one.
void PlanFiles::StartAnew(const ResumePoint &start, const std::shared_ptr<ProcessLock> &lock)
{
    Cancel();
    m_lock = lock;
    m_isFresh = true;
    const auto make = [newFile = gNewTarget(m_target.path), total = m_total,
                       held = lock]() mutable {
        QFile::remove(newFile); // of a process that ended; its plan must not fit this one
        const bool isMade = gCreateEmptyFile(newFile, total);
        held.reset();
        return isMade ? newFile : QString();
    };
    gRunInBackground<QString>(make, this, [this, start, run = m_run](const QString &newFile) {
        if (run == m_run) {
            m_newFile = newFile;
            Plan(start, newFile);
            Write(newFile.isEmpty() ? &PlanFiles::EndNotMade : &PlanFiles::Replace);
        }
    });
}

void PlanFiles::Replace()
{
    m_replacement->Start(m_newFile, m_target.path, m_lock, logFunction);
}

void PlanFiles::DropNewFile()
{
    QUILLON_LOG(logFile, "LiveUpdateMgr::CreateEmptyFile", "Create file Filed!");
    QFile::remove(m_newFile);
    EndNotMade();
}

void PlanFiles::EndNotMade()
{
    m_lock.reset();
    emit NotMade();
}

void PlanFiles::EndReady()
{
    m_lock.reset();
    emit Ready();
}

void PlanFiles::AfterReplacement()
{
    // A file system may give a file the time of another one that had its name a moment before.
    const DownloadIdentity identity = IdentityWith(m_target.path);
    if (identity.targetFile != m_state.Identity().targetFile) {
        m_state.SetIdentity(identity);
        Write(&PlanFiles::FlushName);
    } else {
        FlushName();
    }
}

void PlanFiles::FlushName()
{
    gFlushFolderInBackground(QFileInfo(m_target.path).path(), m_context.system.flushFolder, m_lock,
                             this, [this, run = m_run] {
                                 if (run == m_run) {
                                     EndReady();
                                 }
                             });
}
