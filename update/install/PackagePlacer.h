// SPDX-License-Identifier: MIT

#pragma once

#include "update/base/BackgroundFlush.h"
#include "update/transfer/RangeStore.h"

#include <QObject>
#include <QString>

#include <memory>

class ProcessLock;

/// Moves a complete full package into place, once it is on stable storage: an installer that is
/// offered, perhaps after the machine was started again, has to be whole.
///
/// Thread: GUI thread, the flush on a pool thread. Ownership: its Qt parent, which owns the store.
class PackagePlacer : public QObject
{
    Q_OBJECT

public:
    PackagePlacer(RangeStore &store, FlushFunction flush, QObject *parent);

    /// Holds @p lock until the package is in place.
    void Start(const QString &installerPath, std::shared_ptr<ProcessLock> lock);
    /// Nothing is moved any more; the next plan finds the package complete.
    void Cancel();
    bool IsRunning() const { return m_isRunning; }

signals:
    void Placed();
    void Failed();

private:
    void Place(FlushResult result);

    RangeStore &m_store;
    FlushFunction m_flush;
    QString m_installerPath;
    std::shared_ptr<ProcessLock> m_lock;
    bool m_isRunning = false;
};
