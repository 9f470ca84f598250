// SPDX-License-Identifier: MIT

#pragma once

#include "tests/kill/History.h"
#include "tests/kill/Tally.h"

/// Plays histories, several at a time.
class Histories
{
public:
    explicit Histories(Tally *tally)
        : m_tally(tally)
    {
    }

    /// The scripts. @p isQuick leaves out those that take half a minute.
    void RunScripts(bool isQuick);
    /// The histories from @p first on, so many, drawn from @p seed.
    void RunDrawn(quint32 seed, quint32 first, quint32 count);

private:
    void Run(const QList<History> &histories);

    Tally *m_tally;
};
