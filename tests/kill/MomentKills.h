// SPDX-License-Identifier: MIT

#pragma once

#include "tests/kill/Tally.h"

#include <QtGlobal>

/// Kills a larger download at random moments, up to five times, and then runs it to its end.
class MomentKills
{
public:
    /// The same @p seed gives the same delays; the moments also depend on the speed of the machine.
    MomentKills(Tally *tally, quint32 seed)
        : m_tally(tally)
        , m_seed(seed)
    {
    }

    /// Until @p kills processes have been killed.
    void Run(int kills);

private:
    Tally *m_tally;
    quint32 m_seed;
};
