// SPDX-License-Identifier: MIT

#include "update/install/PackageEnd.h"

#include "api/Log.h"
#include "platform/ProcessLock.h"
#include "update/base/DownloadState.h"
#include "update/install/InstallerPatch.h"
#include "update/install/InstallOffer.h"
#include "update/install/PackagePlacer.h"
#include "update/install/PatchProcess.h"
#include "update/plan/PackageFolder.h"
#include "update/transfer/RangeStore.h"
#include "update/transfer/RangeTask.h"

#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QPointer>

#include <utility>

namespace
{
/// What is written to the settings when the user puts the installer off.
void gSetReady(DownloadState &state, const QString &installer,
               const std::optional<SignedPackage> &signedPackage)
{
    state.installerReady = installer;
    state.installerSha256 = signedPackage ? signedPackage->installerSha256 : QString();
}
} // namespace

PackageEnd::PackageEnd(RangeStore &store, const UpdateContext &context, QObject *parent)
    : QObject(parent)
    , m_store(store)
    , m_context(context)
    , m_placer(new PackagePlacer(store, context.system, this))
    , m_patch(new InstallerPatch(context, this))
    , m_offer(new InstallOffer(context.events, this))
{
    connect(m_placer, &PackagePlacer::Placed, this, [this] {
        gSetReady(m_context.state, m_installerPath, m_signedPackage);
        Offer(m_installerPath, m_placer->TakeCopy());
    });
    connect(m_placer, &PackagePlacer::Failed, this, &PackageEnd::PlaceFailed);
    ConnectPatch(m_patch);
    connect(m_patch, &InstallerPatch::Patched, this, &PackageEnd::EndPatched);
    connect(m_patch, &InstallerPatch::Failed, this, &PackageEnd::PatchFailed);
    connect(m_patch, &InstallerPatch::Refused, this, &PackageEnd::PlaceFailed);
    connect(m_offer, &InstallOffer::Close, this, &PackageEnd::Close);
    connect(m_offer, &InstallOffer::BeginInstall, this, &PackageEnd::BeginInstall);
    connect(m_offer, &InstallOffer::CancelInstall, this, &PackageEnd::CancelInstall);
    connect(m_offer, &InstallOffer::InstallStarted, this, &PackageEnd::InstallStarted);
}

/// A patch that is not the signed one is fetched by nobody again: the next plan takes the full package.
void PackageEnd::ConnectPatch(InstallerPatch *patch)
{
    connect(patch, &InstallerPatch::PatchAltered, this,
            [this] { m_store.DiscardPatch(m_expectedMd5, "DownloadMgr::PatchIncreasePackage"); });
}

void PackageEnd::Complete(const RangeTask &task, std::shared_ptr<ProcessLock> lock)
{
    m_signedPackage = task.signedPackage;
    m_expectedMd5 = task.expectedMd5;
    if (task.isIncremental) {
        m_installerPath = task.oldPackagePath;
        m_patch->Start(m_installerPath, task.targetPath, task.expectedMd5, std::move(lock),
                       task.signedPackage);
    } else {
        m_installerPath = task.installerPath;
        if (lock != nullptr) {
            gRemovePatchTemporaryFiles(QFileInfo(m_installerPath).path());
        }
        m_placer->Start(m_installerPath, task.packageMd5, std::move(lock), task.signedPackage);
    }
}

void PackageEnd::EndPatched()
{
    gSetReady(m_context.state, m_installerPath, m_signedPackage);
    const std::shared_ptr<PrivateCopy> copy = m_patch->TakeCopy();
    const QPointer<PackageEnd> alive(this);
    emit Patched();
    if (alive != nullptr) {
        Offer(m_installerPath, copy);
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
    const std::optional<SignedPackage> signedPackage = task.signedPackage;
    DownloadState &state = m_context.state;
    m_expectedMd5 = task.expectedMd5;
    const QPointer<PackageEnd> alive(this);
    // On the stack: the dialog may be deleted while the loop below runs.
    InstallerPatch patch(m_context, nullptr);
    m_awaitedPatch = &patch;
    ConnectPatch(&patch);
    bool isPatched = false;
    connect(&patch, &InstallerPatch::Patched, &patch, [&isPatched] { isPatched = true; });
    patch.Start(installer, task.targetPath, task.expectedMd5, gLockPackages(), signedPackage);
    QEventLoop loop;
    while (alive != nullptr && patch.IsRunning()) {
        loop.processEvents(QEventLoop::WaitForMoreEvents);
    }
    if (isPatched) {
        gSetReady(state, installer, signedPackage);
    }
    return isPatched;
}

/// Asks the user from the event loop: the question runs a nested one, in which the host may delete
/// the dialog, so it is not asked from within a reply's own signal.
void PackageEnd::Offer(const QString &installer, const std::shared_ptr<PrivateCopy> &copy)
{
    if (!MayOffer(installer, copy)) {
        emit PlaceFailed();
        return;
    }
    QMetaObject::invokeMethod(
        m_offer, [offer = m_offer, installer, copy] { offer->OfferDownloaded(installer, copy); },
        Qt::QueuedConnection);
}

/// Where updates have to be signed, nothing but a verified copy is ever started, whoever asks for it.
bool PackageEnd::MayOffer(const QString &installer, const std::shared_ptr<PrivateCopy> &copy) const
{
    if (copy != nullptr || m_context.publicKeys.isEmpty()) {
        return true;
    }
    QUILLON_LOG("UpdateCommon", "DownloadMgr::_DownloadFinished",
                "%s is not offered, it was not verified", installer.toStdString().c_str());
    return false;
}

void PackageEnd::OfferKept(const QString &installer,
                           const std::optional<PrivateCopy::Outcome> &signedCopy)
{
    if (!signedCopy && !QFile::exists(installer)) {
        return;
    }
    const PrivateCopy::Outcome copied = signedCopy.value_or(PrivateCopy::Outcome());
    if (!MayOffer(installer, copied.copy)) {
        return;
    }
    m_context.state.installerReady = installer;
    m_context.state.installerSha256 = copied.sha256;
    m_offer->OfferKept(installer, copied.copy);
}

void PackageEnd::Install()
{
    m_offer->Install();
}
