// SPDX-License-Identifier: MIT

#pragma once

#include "update/base/UpdateContext.h"

#include <QObject>
#include <QString>

#include <memory>

class InstallOffer;
class PackagePlacer;
class ProcessLock;
class RangeStore;
struct RangeTask;

/// The end of a package: its installer is put in place and offered to the user.
///
///     Complete ─┬─ full: flushed ─► moved into place ─────────┬─► the offer
///               │                          └─► PlaceFailed    │
///               └─ incremental: Patch ─► Patched ─────────────┘
///                                  └───► PatchFailed
///     the offer, OfferKept ─► BeginInstall, then Close, CancelInstall or InstallStarted
///
/// Thread:    GUI thread; `Patch` blocks it for the limit of the patch program at most.
/// Ownership: its Qt parent, which owns the store as well. The host may delete it in any slot.
/// Errors:    logged and reported; a failed patch leaves the kept installer as it is.
class PackageEnd : public QObject
{
    Q_OBJECT

public:
    PackageEnd(RangeStore &store, const UpdateContext &context, QObject *parent);

    /// Puts the package of @p task, all of whose bytes are there, in place and offers its installer.
    /// Holds @p lock until it is in place.
    void Complete(const RangeTask &task, std::shared_ptr<ProcessLock> lock);
    /// Nothing is moved any more; the next plan finds the package complete.
    void CancelPlacing();
    bool IsPlacing() const;

    /// Puts the installer that the downloaded patch makes of the kept one in its place.
    /// @return whether it is there
    bool Patch(const RangeTask &task);

    /// Asks at once, about an installer that an earlier session kept. Without the file nothing
    /// happens.
    void OfferKept(const QString &installer);
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
    void Offer(const QString &installer);

    UpdateContext m_context;
    PackagePlacer *m_placer;
    InstallOffer *m_offer;
    QString m_installerPath;
};
