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

/// The end of a package: its installer is put in place and offered to the user.
///
///     Place ─► flushed ─► moved into place ─┬─► Offer
///                                           └─► PlaceFailed
///     Patch ─► Offer
///     Offer, OfferKept ─► InstallOffer ─► Close, BeginInstall, CancelInstall, InstallStarted
///
/// Thread:    GUI thread; `Patch` blocks it for the limit of the patch program at most.
/// Ownership: its Qt parent, which owns the store as well. The host may delete it in any slot.
/// Errors:    logged and reported; a failed patch leaves the kept installer as it is.
class PackageEnd : public QObject
{
    Q_OBJECT

public:
    PackageEnd(RangeStore &store, const UpdateContext &context, QObject *parent);

    /// Moves the complete full package to @p installerPath and offers it. Holds @p lock meanwhile.
    void Place(const QString &installerPath, std::shared_ptr<ProcessLock> lock);
    /// Nothing is moved any more; the next plan finds the package complete.
    void CancelPlacing();
    bool IsPlacing() const;

    /// Puts the installer that @p patchFile makes of the one at @p keptInstaller in its place.
    /// @return whether it is there
    bool Patch(const QString &keptInstaller, const QString &patchFile, const QString &expectedMd5);

    /// Asks the user from the event loop whether the installer in place is to be started.
    void Offer(const QString &installer);
    /// Asks at once, about an installer that an earlier session kept. Without the file nothing
    /// happens.
    void OfferKept(const QString &installer);
    /// Starts the installer if the user has answered "Yes"; otherwise nothing happens.
    void Install();

signals:
    void PlaceFailed();
    void BeginInstall();
    void CancelInstall();
    void Close();
    void InstallStarted();

private:
    UpdateContext m_context;
    PackagePlacer *m_placer;
    InstallOffer *m_offer;
    QString m_installerPath;
};
