// SPDX-License-Identifier: MIT

#pragma once

#include "tests/kill/KillScene.h"
#include "tests/kill/Tally.h"

#include <QString>

/// Makes the N-th write of a download fail, once or from then on, for every N until the download
/// makes no N-th write: first the writes to the package, then those of the resume state. Required
/// is either the complete package, or the fixed text on the hint page and a line in the log. The
/// state must claim no byte that was not written, and the next download must resume from it.
class FailingCalls
{
public:
    explicit FailingCalls(Tally *tally);

    void RunAll();
    /// A few of the cases of `RunAll`.
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
    /// Leaves a state without its package, for the case that the state cannot be replaced.
    void KeepOldState();

    Tally *m_tally;
    KillScene m_scene;
    KillScene::Snapshot m_begun;
};
