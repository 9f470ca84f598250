// SPDX-License-Identifier: MIT

#include "tests/kill/Tally.h"

#include <iostream>

namespace
{
constexpr int casesBetweenLines = 50;

void gPrintLine(const QString &text)
{
    std::cout << text.toStdString() << std::endl;
}
} // namespace

void Tally::Begin(const QString &part, int cases)
{
    m_part = part;
    m_planned = cases;
    m_cases = m_kills = m_states = 0;
    m_failuresBefore = m_failures;
    m_notes.clear();
}

void Tally::Case(const QString &name, const QStringList &problems)
{
    ++m_cases;
    if (!problems.isEmpty()) {
        ++m_failures;
        gPrintLine(QStringLiteral("  FAILED %1, %2: %3")
                       .arg(m_part, name, problems.join(QStringLiteral("; "))));
    }
    if (m_talk == Talk::Progress && m_cases % casesBetweenLines == 0) {
        const QString of = m_planned > 0 ? QStringLiteral(" of %1").arg(m_planned) : QString();
        gPrintLine(QStringLiteral("  %1: %2%3").arg(m_part).arg(m_cases).arg(of));
    }
}

void Tally::End()
{
    m_allCases += m_cases;
    m_allKills += m_kills;
    m_allStates += m_states;
    if (m_talk == Talk::Progress) {
        const QString notes =
            m_notes.isEmpty() ? QString() : ", " + m_notes.join(QStringLiteral(", "));
        gPrintLine(QStringLiteral("%1: %2 cases, %3 kills, %4 states, %5 failures%6")
                       .arg(m_part)
                       .arg(m_cases)
                       .arg(m_kills)
                       .arg(m_states)
                       .arg(m_failures - m_failuresBefore)
                       .arg(notes));
    }
}
