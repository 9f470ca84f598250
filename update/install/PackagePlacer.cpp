// SPDX-License-Identifier: MIT

#include "update/install/PackagePlacer.h"

#include "api/Log.h"
#include "platform/ProcessLock.h"
#include "update/base/DownloadSystem.h"
#include "update/base/FileReplacement.h"
#include "update/transfer/RangeStore.h"

#include <QFileInfo>

#include <utility>

namespace
{
constexpr char logFile[] = "UpdateCommon";
constexpr char logFunction[] = "DownloadMgr::_DownloadFinished";
} // namespace

PackagePlacer::PackagePlacer(RangeStore &store, const DownloadSystem &system, QObject *parent)
    : QObject(parent)
    , m_store(store)
    , m_system(system)
    , m_replacement(new FileReplacement(system, this))
{
    connect(m_replacement, &FileReplacement::Replaced, this, &PackagePlacer::EndPlaced);
    connect(m_replacement, &FileReplacement::Failed, this, &PackagePlacer::Fail);
}

void PackagePlacer::Start(const QString &installerPath, std::shared_ptr<ProcessLock> lock)
{
    m_isRunning = true;
    m_installerPath = installerPath;
    m_lock = std::move(lock);
    gFlushInBackground(m_store.TargetPath(), m_system.flush, this,
                       [this, run = ++m_run](FlushResult result) {
                           if (m_isRunning && run == m_run) {
                               Judge(result);
                           }
                       });
}

void PackagePlacer::Cancel()
{
    m_isRunning = false;
    m_replacement->Cancel();
    m_lock.reset();
}

void PackagePlacer::Judge(FlushResult result)
{
    if (result == FlushResult::Failed) {
        QUILLON_LOG(logFile, logFunction, "disk failure, %s cannot be put on stable storage",
                    m_store.TargetPath().toStdString().c_str());
        m_store.MarkAsDoubtful();
        Fail();
        return;
    }
    m_store.Close();
    m_replacement->Start(m_store.TargetPath(), m_installerPath, logFunction);
}

void PackagePlacer::Fail()
{
    Cancel();
    emit Failed();
}

void PackagePlacer::EndPlaced()
{
    m_system.flushFolder(QFileInfo(m_installerPath).path());
    Cancel();
    emit Placed();
}
