// SPDX-License-Identifier: MIT

#pragma once

#include "tests/kill/Tally.h"

#include <QString>

class KillScene;

/// Downloads onto a small mounted file system that becomes full. This needs the right to mount;
/// without it no case is tried, and the output says so.
class FullDisk
{
public:
    explicit FullDisk(Tally *tally)
        : m_tally(tally)
    {
    }

    void RunAll();
    /// One of the cases of `RunAll`.
    void RunShort();

private:
    void Fill(const QString &folder, int percent);

    Tally *m_tally;
};
