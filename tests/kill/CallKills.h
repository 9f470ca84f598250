// SPDX-License-Identifier: MIT

#pragma once

#include "tests/kill/KillScene.h"
#include "tests/kill/Tally.h"

#include <QString>
#include <QStringList>

/// Kills a small download at its N-th system call, for every N until the download makes no N-th
/// call; once with a fresh download and once with a resumed one.
///
/// strace counts the calls of each thread. The files of an update are written on the main thread,
/// except for the flushes of the package. Calls that a process makes in hundreds are counted for
/// the files of an update only. A new state is written into a file without a name: that write is
/// not counted, but the calls right before and after it are.
class CallKills
{
public:
    explicit CallKills(Tally *tally);

    void RunAll();
    /// A few of the cases of `RunAll`.
    void RunShort();

private:
    struct Call {
        QString name;
        /// Only calls on these files are counted; all are when the list is empty.
        QStringList paths;
    };

    bool Begin();
    QList<Call> Calls() const;
    /// @return whether the call was reached
    bool Kill(const Call &call, int number, bool resumes);

    Tally *m_tally;
    KillScene m_scene;
    KillScene::Snapshot m_begun;
};
