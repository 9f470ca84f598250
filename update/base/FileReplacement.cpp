// SPDX-License-Identifier: MIT

#include "update/base/FileReplacement.h"

#include "api/Log.h"
#include "update/base/DownloadSystem.h"

FileReplacement::FileReplacement(const DownloadSystem &system, QObject *parent)
    : QObject(parent)
    , m_system(system)
{
}

void FileReplacement::Start(const QString &from, const QString &to, const char *logFunction)
{
    Cancel();
    m_from = from;
    m_to = to;
    m_logFunction = logFunction;
    m_waited = std::chrono::milliseconds(0);
    Try();
}

void FileReplacement::Try()
{
    QString failure;
    const RenameResult result = m_system.renameOver(m_from, m_to, &failure);
    if (result == RenameResult::Renamed) {
        emit Replaced();
        return;
    }
    if (result == RenameResult::Busy && m_waited < m_system.replaceLimit) {
        m_waited += m_system.replacePause;
        m_system.callLater(m_system.replacePause, this, [this, run = m_run] {
            if (run == m_run) {
                Try();
            }
        });
        return;
    }
    QUILLON_LOG("UpdateCommon", m_logFunction, "disk failure, %s cannot be moved to %s, %s",
                m_from.toStdString().c_str(), m_to.toStdString().c_str(),
                failure.toStdString().c_str());
    emit Failed();
}
