// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>
#include <QTimer>

/// Decides when the program may end after the dialog's signals.
///
/// Several signals can follow each other: a closed download repeats `Close`, `Close` follows
/// `CancelInstall`, and after a Yes `InstallStarted` comes last, when the pending reports have
/// ended. So the program stays 200 ms after the last signal, and after a Yes up to 15 s.
///
/// Thread:    GUI thread.
/// Ownership: its Qt parent.
class ExitPolicy : public QObject
{
    Q_OBJECT

public:
    /// @param lingerMilliseconds how long to stay after the last signal of a burst
    ExitPolicy(int lingerMilliseconds, QObject *parent);

    /// A signal that ends the update arrived.
    /// @param installStarted whether it was `InstallStarted`
    void SignalArrived(bool installStarted);

    /// The user agreed to install, so `InstallStarted` is expected.
    void InstallAgreed() { m_awaitsInstall = true; }

    /// Emits `Done` after the linger time, without waiting for further signals.
    void Finish() const;

signals:
    void Done();

private:
    QTimer m_burst;
    int m_linger;
    bool m_awaitsInstall = false;
};
