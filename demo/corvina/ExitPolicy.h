// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>
#include <QTimer>

/// Decides when the program may end after the dialog's signals.
///
/// Signals come in bursts: a closed download repeats `Close`, a cancelled installation is followed
/// by `Close`, and after a Yes `InstallStarted` comes last, when the pending reports are done.
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
    void SignalArrived(bool installStarted);

    /// The user agreed to install: `InstallStarted` is worth waiting for.
    void InstallAgreed() { m_awaitsInstall = true; }

    /// Nothing more will come.
    void Finish() const;

signals:
    void Done();

private:
    QTimer m_burst;
    int m_linger;
    bool m_awaitsInstall = false;
};
