// SPDX-License-Identifier: MIT

#pragma once

#include "tests/support/FaultRule.h"

#include <QByteArray>
#include <QList>

#include <optional>

/// The rules by which a test server answers. A later rule goes before an earlier one, so that a
/// script first describes a server that is in order and then the faults.
class FaultScript
{
public:
    FaultRule &When(const QByteArray &method, const QByteArray &path);

    /// The next answer to @p request; nothing when no rule fits it.
    std::optional<FaultAnswer> Next(const HttpRequest &request);

private:
    QList<FaultRule> m_rules;
};
