// SPDX-License-Identifier: MIT

#include "tests/support/FaultRule.h"

FaultRule &FaultRule::From(qint64 first, qint64 last)
{
    m_withRange = true;
    m_first = first;
    m_last = last;
    return *this;
}

FaultRule &FaultRule::WithoutRange()
{
    m_withoutRange = true;
    return *this;
}

FaultRule &FaultRule::Answer(int times, const FaultAnswer &answer)
{
    for (int time = 0; time < times; ++time) {
        Then(answer);
    }
    return *this;
}

FaultRule &FaultRule::Then(const FaultAnswer &answer)
{
    m_answers.append(answer);
    return *this;
}

bool FaultRule::Fits(const HttpRequest &request) const
{
    if (request.method != m_method || request.Path() != m_path) {
        return false;
    }
    const QByteArray range = request.headers.value("range");
    if (range.isEmpty()) {
        return !m_withRange;
    }
    const qint64 start = range.mid(6, range.indexOf('-') - 6).toLongLong();
    return !m_withoutRange && start >= m_first && start <= m_last;
}

FaultAnswer FaultRule::Next()
{
    if (m_answers.isEmpty()) {
        return FaultAnswer::Status(404);
    }
    return m_answers.size() > 1 ? m_answers.takeFirst() : m_answers.first();
}
