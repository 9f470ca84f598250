// SPDX-License-Identifier: MIT

#pragma once

#include <QTimer>

/// One turn for each pass of the event loop. Work that is ready in several places at once takes turns
/// with it, so that the window and the timers of the host come in between.
///
/// Thread: one with an event loop; for downloads the GUI thread.
class LoopTurn
{
public:
    LoopTurn() { m_pass.setSingleShot(true); }

    /// @return whether the turn of this pass was free, and is the caller's now; who comes too late
    /// asks again from a timer
    bool Take()
    {
        if (m_pass.isActive()) {
            return false;
        }
        m_pass.start(0);
        return true;
    }

private:
    /// Active from the turn that was taken to the next pass.
    QTimer m_pass;
};
