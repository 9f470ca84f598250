// SPDX-License-Identifier: MIT

#pragma once

#include <QList>
#include <QObject>
#include <QPointer>

#include <chrono>
#include <functional>

/// Takes the place of the timers of the code under test: collects the delayed calls, and makes them
/// when the test says so, or in the next pass of the event loop.
///
/// Thread: one.
class LaterCalls
{
public:
    using Function =
        std::function<void(std::chrono::milliseconds, QObject *, const std::function<void()> &)>;

    /// The function that the code under test is given. It must not outlive this object.
    Function Seam();

    /// Every delay so far, in seconds.
    QList<int> Seconds() const { return m_seconds; }

    int Waiting() const { return m_waiting.size(); }
    /// Makes the calls that are waiting.
    void Run();
    /// From now on every call is made in the next pass of the event loop.
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
