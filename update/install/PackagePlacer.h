// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>
#include <QString>

#include <memory>

class FileReplacement;
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
    void Start(const QString &installerPath, const QString &md5, std::shared_ptr<ProcessLock> lock);
    /// Nothing more is moved, but for a rename that is under way; without that the next plan finds the
    /// package complete.
    void Cancel();
    bool IsRunning() const { return m_isRunning; }

signals:
    void Placed();
    void Failed();

private:
    struct Finding;

    void Judge(const Finding &finding);
    bool IsPackage(const Finding &finding) const;
    void Discard();
    void Fail();
    void FlushName();
    void EndPlaced();

    RangeStore &m_store;
    const DownloadSystem &m_system;
    FileReplacement *m_replacement;
    QString m_installerPath;
    /// In lower case; empty when there is nothing to compare with.
    QString m_md5;
    std::shared_ptr<ProcessLock> m_lock;
    bool m_isRunning = false;
    /// Counts the starts, so that a late flush is not taken for a later one.
    int m_run = 0;
};
