// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

/// Counts what was tried and what went wrong, and tells of it while it goes on.
class Tally
{
public:
    enum class Talk { Progress, Failures };

    explicit Tally(Talk talk)
        : m_talk(talk)
    {
    }

    /// A part of the whole begins, of @p cases cases as far as that is known; 0: it is not.
    void Begin(const QString &part, int cases = 0);
    /// One more case is over. What @p problems say is wrong with it; nothing, when it went well.
    void Case(const QString &name, const QStringList &problems = {});
    void Kill() { ++m_kills; }
    void State() { ++m_states; }
    /// Says something that belongs into the summary of the part.
    void Note(const QString &text) { m_notes.append(text); }
    /// Prints the line that sums the part up.
    void End();

    int Cases() const { return m_allCases; }
    int Kills() const { return m_allKills; }
    int States() const { return m_allStates; }
    int Failures() const { return m_failures; }

private:
    Talk m_talk;
    QString m_part;
    QStringList m_notes;
    int m_planned = 0;
    int m_cases = 0;
    int m_kills = 0;
    int m_states = 0;
    int m_failuresBefore = 0;
    int m_allCases = 0;
    int m_allKills = 0;
    int m_allStates = 0;
    int m_failures = 0;
};
