// SPDX-License-Identifier: MIT

#pragma once

#include "tests/kill/KillScene.h"
#include "tests/kill/Tally.h"

#include <QString>

/// Makes the N-th write of a download fail, once or from then on, for every N until it is no longer
/// reached: the writes to the package, and those of the resume state. What follows is either the
/// package, or the fixed text on the hint page and a line in the log; the state claims no byte that
/// is not there, and the next download goes on from it.
class FailingCalls
{
public:
    explicit FailingCalls(Tally *tally);

    void RunAll();
    /// A few of them.
    void RunShort();

private:
    enum class File { Package, State };

    struct Failure {
        File file;
        /// "ENOSPC", "EIO", "EINTR" or "SHORT".
        QString how;
        bool isForEver;
    };

    bool Begin();
    /// @return whether the write was reached
    bool Fail(const Failure &failure, int number, bool resumes);
    QStringList ProblemsOfEnd(const Failure &failure) const;
    /// A state that cannot be replaced belongs to a package that is gone.
    void KeepOldState();

    Tally *m_tally;
    KillScene m_scene;
    KillScene::Snapshot m_begun;
};
