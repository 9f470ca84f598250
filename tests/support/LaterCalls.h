// SPDX-License-Identifier: MIT

#pragma once

#include <QList>
#include <QObject>
#include <QPointer>

#include <chrono>
#include <functional>

/// Stands in for the clock of what is to be done later: collects the appointments, and keeps them
/// when the test says so, or at once.
///
/// Thread: one.
class LaterCalls
{
public:
    using Function =
        std::function<void(std::chrono::milliseconds, QObject *, const std::function<void()> &)>;

    /// What code under test is given. It must not outlive this object.
    Function Seam();

    /// Every delay so far, in seconds.
    QList<int> Seconds() const { return m_seconds; }

    /// Keeps the appointments that are waiting.
    void Run();
    /// From now on every appointment is kept in the next pass of the event loop.
    void RunAtOnce() { m_atOnce = true; }

private:
    struct Call {
        QPointer<QObject> context;
        std::function<void()> action;
    };

    QList<Call> m_waiting;
    QList<int> m_seconds;
    bool m_atOnce = false;
};
