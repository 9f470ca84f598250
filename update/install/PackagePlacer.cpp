// SPDX-License-Identifier: MIT

#include "update/install/PackagePlacer.h"

#include "api/Log.h"
#include "platform/ProcessLock.h"

#include <utility>

PackagePlacer::PackagePlacer(RangeStore &store, FlushFunction flush, QObject *parent)
    : QObject(parent)
    , m_store(store)
    , m_flush(std::move(flush))
{
}

void PackagePlacer::Start(const QString &installerPath, std::shared_ptr<ProcessLock> lock)
{
    m_isRunning = true;
    m_installerPath = installerPath;
    m_lock = std::move(lock);
    gFlushInBackground(m_store.TargetPath(), m_flush, this,
                       [this](FlushResult result) { Place(result); });
}

void PackagePlacer::Cancel()
{
    m_isRunning = false;
    m_lock.reset();
}

void PackagePlacer::Place(FlushResult result)
{
    constexpr char function[] = "DownloadMgr::_DownloadFinished";

    if (!m_isRunning) {
        return;
    }
    bool isPlaced = false;
    if (result == FlushResult::Failed) {
        QUILLON_LOG("UpdateCommon", function, "disk failure, %s cannot be put on stable storage",
                    m_store.TargetPath().toStdString().c_str());
        m_store.MarkAsDoubtful();
    } else {
        isPlaced = m_store.MoveTo(m_installerPath, function);
    }
    Cancel();
    if (isPlaced) {
        emit Placed();
    } else {
        emit Failed();
    }
}
