// SPDX-License-Identifier: MIT

#pragma once

#include "platform/StableStorage.h"

#include <QObject>
#include <QString>

#include <memory>

class FileReplacement;
class ProcessLock;
class RangeStore;
struct DownloadSystem;

/// Moves a complete full package into place, once it is on stable storage: an installer that is
/// offered, perhaps after the machine was started again, has to be whole.
///
///     Start ─► flushed ─► replaces what is at the installer's path ─► Placed
///                 └──────────────────┴─► Failed
///
/// Thread:    GUI thread, the flush on a pool thread.
/// Ownership: its Qt parent, which owns the store as well. The system outlives it. It may be deleted in
///            any slot.
/// Errors:    `Failed`; the log says why. An installer of before stays as it was.
class PackagePlacer : public QObject
{
    Q_OBJECT

public:
    PackagePlacer(RangeStore &store, const DownloadSystem &system, QObject *parent);

    /// Holds @p lock until the package is in place. It is free in the slots of both signals.
    void Start(const QString &installerPath, std::shared_ptr<ProcessLock> lock);
    /// Nothing is moved any more; the next plan finds the package complete.
    void Cancel();
    bool IsRunning() const { return m_isRunning; }

signals:
    void Placed();
    void Failed();

private:
    void Judge(FlushResult result);
    void Fail();
    void EndPlaced();

    RangeStore &m_store;
    const DownloadSystem &m_system;
    FileReplacement *m_replacement;
    QString m_installerPath;
    std::shared_ptr<ProcessLock> m_lock;
    bool m_isRunning = false;
    /// Counts the starts, so that a late flush is not taken for a later one.
    int m_run = 0;
};
