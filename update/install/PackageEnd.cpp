// SPDX-License-Identifier: MIT

#include "update/install/PackageEnd.h"

#include "platform/ProcessLock.h"
#include "update/base/DownloadState.h"
#include "update/install/InstallerPatch.h"
#include "update/install/InstallOffer.h"
#include "update/install/PackagePlacer.h"
#include "update/install/PatchProcess.h"
#include "update/plan/PackageFolder.h"
#include "update/transfer/RangeTask.h"

#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QPointer>

#include <utility>

PackageEnd::PackageEnd(RangeStore &store, const UpdateContext &context, QObject *parent)
    : QObject(parent)
    , m_context(context)
    , m_placer(new PackagePlacer(store, context.system, this))
    , m_patch(new InstallerPatch(context, this))
    , m_offer(new InstallOffer(context.events, this))
{
    connect(m_placer, &PackagePlacer::Placed, this, [this] {
        m_context.state.installerReady = m_installerPath;
        Offer(m_installerPath);
    });
    connect(m_placer, &PackagePlacer::Failed, this, &PackageEnd::PlaceFailed);
    connect(m_patch, &InstallerPatch::Patched, this, &PackageEnd::EndPatched);
    connect(m_patch, &InstallerPatch::Failed, this, &PackageEnd::PatchFailed);
    connect(m_offer, &InstallOffer::Close, this, &PackageEnd::Close);
    connect(m_offer, &InstallOffer::BeginInstall, this, &PackageEnd::BeginInstall);
    connect(m_offer, &InstallOffer::CancelInstall, this, &PackageEnd::CancelInstall);
    connect(m_offer, &InstallOffer::InstallStarted, this, &PackageEnd::InstallStarted);
}

void PackageEnd::Complete(const RangeTask &task, std::shared_ptr<ProcessLock> lock)
{
    if (task.isIncremental) {
        m_installerPath = task.oldPackagePath;
        m_patch->Start(m_installerPath, task.targetPath, task.expectedMd5, std::move(lock));
    } else {
        m_installerPath = task.installerPath;
        if (lock != nullptr) {
            gRemovePatchTemporaryFiles(QFileInfo(m_installerPath).path());
        }
        m_placer->Start(m_installerPath, task.packageMd5, std::move(lock));
    }
}

void PackageEnd::EndPatched()
{
    m_context.state.installerReady = m_installerPath;
    const QPointer<PackageEnd> alive(this);
    emit Patched();
    if (alive != nullptr) {
        Offer(m_installerPath);
    }
}

void PackageEnd::CancelPlacing()
{
    m_placer->Cancel();
    m_patch->Cancel();
    if (m_awaitedPatch != nullptr) {
        m_awaitedPatch->Cancel();
    }
}

bool PackageEnd::IsPlacing() const
{
    return m_placer->IsRunning() || m_patch->IsRunning() ||
           (m_awaitedPatch != nullptr && m_awaitedPatch->IsRunning());
}

bool PackageEnd::Patch(const RangeTask &task)
{
    const QString installer = task.oldPackagePath;
    DownloadState &state = m_context.state;
    const QPointer<PackageEnd> alive(this);
    // On the stack: the dialog may be deleted while the loop below runs.
    InstallerPatch patch(m_context, nullptr);
    m_awaitedPatch = &patch;
    bool isPatched = false;
    connect(&patch, &InstallerPatch::Patched, &patch, [&isPatched] { isPatched = true; });
    patch.Start(installer, task.targetPath, task.expectedMd5, gLockPackages());
    QEventLoop loop;
    while (alive != nullptr && patch.IsRunning()) {
        loop.processEvents(QEventLoop::WaitForMoreEvents);
    }
    if (isPatched) {
        state.installerReady = installer;
    }
    return isPatched;
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
