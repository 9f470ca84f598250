// SPDX-License-Identifier: MIT

#pragma once

#include "tests/kill/Tally.h"

#include <QString>

class KillScene;

/// Downloads onto a small file system of its own that is really full. Needs the right to mount one;
/// without it that is said and nothing is tried.
class FullDisk
{
public:
    explicit FullDisk(Tally *tally)
        : m_tally(tally)
    {
    }

    void RunAll();
    /// One of them.
    void RunShort();

private:
    void Fill(const QString &folder, int percent);

    Tally *m_tally;
};
