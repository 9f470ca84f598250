// SPDX-License-Identifier: MIT

#pragma once

#include "update/base/UpdateContext.h"
#include "update/trust/PrivateCopy.h"
#include "update/trust/SignedPackage.h"

#include <QObject>
#include <QPointer>
#include <QString>

#include <memory>
#include <optional>

class InstallerPatch;
class InstallOffer;
class PackagePlacer;
class ProcessLock;
class RangeStore;
struct RangeTask;

/// The end of a package: its installer is put in place and offered to the user.
///
///     Complete ─┬─ full: PackagePlacer ─┬─► in place ─────────┬─► the offer
///               │                       └─► PlaceFailed       │
///               └─ incremental: InstallerPatch ─┬─► Patched ──┘
///                                               ├─► PatchFailed
///                                               └─► PlaceFailed, when it is not the signed one
///     the offer, OfferKept ─► BeginInstall, then Close, CancelInstall or InstallStarted
///
/// Thread:    GUI thread; the patch program blocks it for its limit at most.
/// Ownership: its Qt parent, which owns the store as well. The host may delete it in any slot.
/// Errors:    logged and reported; a failed patch leaves the kept installer as it is.
class PackageEnd : public QObject
{
    Q_OBJECT

public:
    PackageEnd(RangeStore &store, const UpdateContext &context, QObject *parent);

    /// Puts the package of @p task, all of whose bytes are there, in place and offers its installer.
    /// Holds @p lock until it is in place; the lock is free in the slots of `PlaceFailed`, `Patched` and
    /// `PatchFailed`. Another program may hold the files for a while: the signals can come later.
    void Complete(const RangeTask &task, std::shared_ptr<ProcessLock> lock);
    /// Nothing more is moved or replaced, but for a rename that is under way; without that the next plan
    /// finds the package complete.
    void CancelPlacing();
    bool IsPlacing() const;

    /// Puts the installer that the downloaded patch makes of the kept one in its place, without an offer.
    /// Runs an event loop while another program holds the kept installer.
    /// @return whether it is there
    bool Patch(const RangeTask &task);

    /// Asks at once, about an installer that an earlier session kept. Without the file nothing
    /// happens.
    /// @param signedCopy what is started instead, and its SHA-256; nothing where nothing is signed
    void OfferKept(const QString &installer,
                   const std::optional<PrivateCopy::Outcome> &signedCopy = std::nullopt);
    /// Starts the installer if the user has answered "Yes"; otherwise nothing happens.
    void Install();

signals:
    void PlaceFailed();
    void Patched();
    void PatchFailed();
    void BeginInstall();
    void CancelInstall();
    void Close();
    void InstallStarted();

private:
    void ConnectPatch(InstallerPatch *patch);
    void EndPatched();
    bool MayOffer(const QString &installer, const std::shared_ptr<PrivateCopy> &copy) const;
    void Offer(const QString &installer, const std::shared_ptr<PrivateCopy> &copy);

    RangeStore &m_store;
    UpdateContext m_context;
    PackagePlacer *m_placer;
    InstallerPatch *m_patch;
    /// The one that `Patch` waits for.
    QPointer<InstallerPatch> m_awaitedPatch;
    InstallOffer *m_offer;
    QString m_installerPath;
    QString m_expectedMd5;
    std::optional<SignedPackage> m_signedPackage;
};
