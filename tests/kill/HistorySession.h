// SPDX-License-Identifier: MIT

#pragma once

#include "tests/e2e/DemoProcess.h"
#include "tests/kill/HistoryStep.h"

#include <QString>
#include <QStringList>

/// One session of the host program in a process of its own: it checks, accepts the offer, and ends
/// by itself, by its user, or by being killed.
///
/// Ownership: the creator; a process that still runs is killed with the object.
class HistorySession
{
public:
    /// @param home   the folder of the account's settings and resume state
    /// @param folder the folder of all accounts, which has the packages below it
    HistorySession(const QString &home, const QString &folder, const QString &checkTemplate);

    /// Runs it to its end. @p packageSize says at which byte it is stopped.
    void Run(const HistoryStep &step, qint64 packageSize);

    bool WasKilled() const { return m_wasKilled; }
    /// Whether a downloaded, or a kept, installer was offered.
    bool HasOffered() const { return !Prompts().isEmpty(); }
    bool HasOfferedKept() const;
    /// The last text of the hint page; empty when it was never shown.
    QString Hint() const;

    /// What must not be: a hang, silence, or a text that is none of the fixed ones.
    QStringList Problems(const HistoryStep &step) const;

private:
    void Stop(const HistoryStep &step, qint64 bytes);
    void Kill();
    QStringList Prompts() const { return m_demo.Values("prompt", "text"); }
    /// The text of the page that was shown last; empty when there was none.
    QString LastPage() const;

    DemoProcess m_demo;
    bool m_wasKilled = false;
    int m_exitStatus = 0;
};
