// SPDX-License-Identifier: MIT

#include "tests/support/FaultScript.h"

#include <algorithm>

FaultRule &FaultScript::When(const QByteArray &method, const QByteArray &path)
{
    m_rules.append(FaultRule(method, path));
    return m_rules.last();
}

std::optional<FaultAnswer> FaultScript::Next(const HttpRequest &request)
{
    const auto rule =
        std::find_if(m_rules.rbegin(), m_rules.rend(),
                     [&request](const FaultRule &candidate) { return candidate.Fits(request); });
    if (rule == m_rules.rend()) {
        return std::nullopt;
    }
    return rule->Next();
}
