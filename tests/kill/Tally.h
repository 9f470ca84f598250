// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

/// Counts cases and failures, and prints the progress.
class Tally
{
public:
    enum class Talk { Progress, Failures };

    explicit Tally(Talk talk)
        : m_talk(talk)
    {
    }

    /// Begins a part. @p cases is its number of cases, 0 when that is not known.
    void Begin(const QString &part, int cases = 0);
    /// Counts one case. It has failed when there are @p problems.
    void Case(const QString &name, const QStringList &problems = {});
    void Kill(int count = 1) { m_kills += count; }
    void State() { ++m_states; }
    /// Adds @p text to the summary of the part.
    void Note(const QString &text) { m_notes.append(text); }
    /// Prints the summary of the part.
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
