// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>

#include <chrono>

class QThread;
class QTimer;

/// A watchdog that raises `TimeOut` when it is not restarted in time.
///
/// Thread:    lives on a thread of its own, so that it fires even while its owner's thread is busy.
///            Reach the slots through connections or queued calls only. Destroy it from the thread
///            that created it; the destructor ends and joins the watchdog's thread.
/// Ownership: no parent (it is moved to another thread); its user deletes it.
class NetworkCheck : public QObject
{
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds defaultInterval{30000};

    explicit NetworkCheck(std::chrono::milliseconds interval = defaultInterval);
    ~NetworkCheck() override;

signals:
    /// The interval passed without `_Check` or `_StopCheck`; repeated every interval until stopped.
    /// Emitted on the watchdog's thread.
    void TimeOut();

public slots:
    void _StopCheck();
    /// Starts the interval, or starts it anew.
    void _Check();

private:
    QThread *m_thread;
    QTimer *m_timer;
};
