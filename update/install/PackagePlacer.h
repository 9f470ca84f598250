// SPDX-License-Identifier: MIT

#pragma once

#include "update/trust/SignedPackage.h"

#include <QObject>
#include <QString>

#include <memory>
#include <optional>
#include <utility>

class FileReplacement;
class PrivateCopy;
class ProcessLock;
class RangeStore;
struct DownloadSystem;

/// Moves a complete full package into place, once it is on stable storage and has been compared with
/// what the manifest says of it: an installer that is offered, perhaps after the machine was started
/// again, has to be whole.
///
///     Start ─► flushed ─► read ─► compared ─► replaces what is at the installer's path ─► Placed
///                 └────────┴──────────┴──────────────────┴─► Failed
///
/// A package that a signed manifest names is read into a private copy, which is what is offered: others may
/// write to the folder of the package itself.
///
/// Thread:    GUI thread; a pool thread flushes, reads and renames.
/// Ownership: its Qt parent, which owns the store as well. The system outlives it. It may be deleted in
///            any slot.
/// Errors:    `Failed`; the log says why. An installer of before stays as it was. A package that is
///            another one is removed and its plan is void, so that the next one starts anew.
class PackagePlacer : public QObject
{
    Q_OBJECT

public:
    PackagePlacer(RangeStore &store, const DownloadSystem &system, QObject *parent);

    /// @param md5  of the package, in any case; whatever is no MD5 is compared with nothing
    /// @param lock is held until the package is in place, and is free in the slots of both signals
    /// @param signedPackage what a verified manifest says of it; it is compared instead of the MD5
    void Start(const QString &installerPath, const QString &md5, std::shared_ptr<ProcessLock> lock,
               const std::optional<SignedPackage> &signedPackage = std::nullopt);
    /// Nothing more is moved, but for a rename that is under way; without that the next plan finds the
    /// package complete.
    void Cancel();
    bool IsRunning() const { return m_isRunning; }
    /// The private copy of a signed package that was placed; null for one that is not signed.
    std::shared_ptr<PrivateCopy> TakeCopy() { return std::move(m_copy); }

signals:
    void Placed();
    void Failed();

private:
    struct Finding;

    void Judge(const Finding &finding);
    bool IsPackage(const Finding &finding) const;
    bool IsSignedPackage(const Finding &finding) const;
    void End();
    void Fail();
    void FlushName();
    void EndPlaced();

    RangeStore &m_store;
    const DownloadSystem &m_system;
    FileReplacement *m_replacement;
    QString m_installerPath;
    /// In lower case; empty when there is nothing to compare with.
    QString m_md5;
    std::optional<SignedPackage> m_signedPackage;
    std::shared_ptr<PrivateCopy> m_copy;
    std::shared_ptr<ProcessLock> m_lock;
    bool m_isRunning = false;
    /// Counts the starts, so that a late flush is not taken for a later one.
    int m_run = 0;
};
