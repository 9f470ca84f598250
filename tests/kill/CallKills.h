// SPDX-License-Identifier: MIT

#pragma once

#include "tests/kill/KillScene.h"
#include "tests/kill/Tally.h"

#include <QString>
#include <QStringList>

/// Kills a small download at its N-th system call, for every N until it is no longer reached, with a
/// fresh download and with one that goes on.
///
/// strace counts the calls of each thread. What concerns the files of an update happens on the main
/// thread, except for the flushes of the package. Calls of which a process has hundreds are counted
/// for the files of an update only. The new state is written into a file that has no name yet: that
/// write is not among them, but the calls just before and behind it are.
class CallKills
{
public:
    explicit CallKills(Tally *tally);

    void RunAll();
    /// A few of them.
    void RunShort();

private:
    struct Call {
        QString name;
        /// Only calls on these files count; all do when there are none.
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
