// SPDX-License-Identifier: MIT

#pragma once

#include "tests/support/FaultRule.h"

#include <QByteArray>
#include <QList>

/// What a fault server answers. A later rule goes before an earlier one, so that a script first says
/// what is in order and then what is not; a request that no rule fits gets 404.
class FaultScript
{
public:
    FaultRule &When(const QByteArray &method, const QByteArray &path);

    FaultAnswer Next(const HttpRequest &request);

private:
    QList<FaultRule> m_rules;
};
