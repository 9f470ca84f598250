// SPDX-License-Identifier: MIT

#include "tests/support/FaultScript.h"

#include <algorithm>

FaultRule &FaultScript::When(const QByteArray &method, const QByteArray &path)
{
    m_rules.append(FaultRule(method, path));
    return m_rules.last();
}

FaultAnswer FaultScript::Next(const HttpRequest &request)
{
    const auto rule =
        std::find_if(m_rules.rbegin(), m_rules.rend(),
                     [&request](const FaultRule &candidate) { return candidate.Fits(request); });
    return rule == m_rules.rend() ? FaultAnswer::Status(404) : rule->Next();
}
