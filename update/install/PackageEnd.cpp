// SPDX-License-Identifier: MIT

#include "update/install/PackageEnd.h"

#include "platform/ProcessLock.h"
#include "update/base/DownloadState.h"
#include "update/base/DownloadSystem.h"
#include "update/install/InstallerPatch.h"
#include "update/install/InstallOffer.h"
#include "update/install/PackagePlacer.h"
#include "update/transfer/RangeTask.h"

#include <QFile>
#include <QPointer>

#include <utility>

PackageEnd::PackageEnd(RangeStore &store, const UpdateContext &context, QObject *parent)
    : QObject(parent)
    , m_context(context)
    , m_placer(new PackagePlacer(store, context.system.flush, this))
    , m_offer(new InstallOffer(context.events, this))
{
    connect(m_placer, &PackagePlacer::Placed, this, [this] {
        m_context.state.installerReady = m_installerPath;
        Offer(m_installerPath);
    });
    connect(m_placer, &PackagePlacer::Failed, this, &PackageEnd::PlaceFailed);
    connect(m_offer, &InstallOffer::Close, this, &PackageEnd::Close);
    connect(m_offer, &InstallOffer::BeginInstall, this, &PackageEnd::BeginInstall);
    connect(m_offer, &InstallOffer::CancelInstall, this, &PackageEnd::CancelInstall);
    connect(m_offer, &InstallOffer::InstallStarted, this, &PackageEnd::InstallStarted);
}

void PackageEnd::Complete(const RangeTask &task, std::shared_ptr<ProcessLock> lock)
{
    if (!task.isIncremental) {
        m_installerPath = task.installerPath;
        m_placer->Start(m_installerPath, std::move(lock));
        return;
    }
    if (!Patch(task)) {
        emit PatchFailed();
        return;
    }
    const QString installer = task.oldPackagePath;
    const QPointer<PackageEnd> alive(this);
    emit Patched();
    if (alive != nullptr) {
        Offer(installer);
    }
}

void PackageEnd::CancelPlacing()
{
    m_placer->Cancel();
}

bool PackageEnd::IsPlacing() const
{
    return m_placer->IsRunning();
}

bool PackageEnd::Patch(const RangeTask &task)
{
    if (!gPatchKeptInstaller(task.oldPackagePath, task.targetPath, task.expectedMd5, m_context)) {
        return false;
    }
    m_context.state.installerReady = task.oldPackagePath;
    return true;
}

/// Asks the user from the event loop: the question runs a nested one, in which the host may delete
/// the dialog, so it is not asked from within a reply's own signal.
void PackageEnd::Offer(const QString &installer)
{
    QMetaObject::invokeMethod(
        m_offer, [offer = m_offer, installer] { offer->OfferDownloaded(installer); },
        Qt::QueuedConnection);
}

void PackageEnd::OfferKept(const QString &installer)
{
    if (QFile::exists(installer)) {
        m_context.state.installerReady = installer;
        m_offer->OfferKept(installer);
    }
}

void PackageEnd::Install()
{
    m_offer->Install();
}
