// SPDX-License-Identifier: MIT

#include "update/base/FileReplacement.h"

#include "api/Log.h"
#include "platform/ProcessLock.h"
#include "update/base/BackgroundWork.h"
#include "update/base/DownloadSystem.h"

namespace
{
struct Attempt {
    RenameResult result = RenameResult::Failed;
    QString failure;
};
} // namespace

FileReplacement::FileReplacement(const DownloadSystem &system, QObject *parent)
    : QObject(parent)
    , m_system(system)
{
}

void FileReplacement::Start(const QString &from, const QString &to,
                            const std::shared_ptr<ProcessLock> &lock, const char *logFunction)
{
    Cancel();
    m_from = from;
    m_to = to;
    m_lock = lock;
    m_logFunction = logFunction;
    m_waited = std::chrono::milliseconds(0);
    Try();
}

void FileReplacement::Cancel()
{
    ++m_run;
    m_lock.reset();
}

void FileReplacement::Try()
{
    const auto rename = [renameOver = m_system.renameOver, from = m_from, to = m_to,
                         held = m_lock]() mutable {
        Attempt attempt;
        attempt.result = renameOver(from, to, &attempt.failure);
        held.reset();
        return attempt;
    };
    gRunInBackground<Attempt>(rename, this, [this, run = m_run](const Attempt &attempt) {
        if (run == m_run) {
            Judge(attempt.result, attempt.failure);
        }
    });
}

void FileReplacement::Judge(RenameResult result, const QString &failure)
{
    if (result == RenameResult::Busy && m_waited < m_system.replaceLimit) {
        m_waited += m_system.replacePause;
        m_system.callLater(m_system.replacePause, this, [this, run = m_run] {
            if (run == m_run) {
                Try();
            }
        });
        return;
    }
    Cancel();
    if (result == RenameResult::Renamed) {
        emit Replaced();
        return;
    }
    QUILLON_LOG("UpdateCommon", m_logFunction, "disk failure, %s cannot be moved to %s, %s",
                m_from.toStdString().c_str(), m_to.toStdString().c_str(),
                failure.toStdString().c_str());
    emit Failed();
}
