// SPDX-License-Identifier: MIT

#pragma once

#include "tests/support/FaultAnswer.h"
#include "tests/support/HttpRequest.h"

#include <QByteArray>
#include <QList>

#include <limits>

/// Names requests by method, path and range, and holds the answers that they get, one after the
/// other.
///
///     script.When("GET", "/setup.exe").From(200, 399).Answer(cut).Then(honest)
class FaultRule
{
public:
    FaultRule(const QByteArray &method, const QByteArray &path)
        : m_method(method)
        , m_path(path)
    {
    }

    /// Only requests of a range that begins at @p first, at @p last, or between them.
    FaultRule &From(qint64 first, qint64 last);
    /// Only requests without a range.
    FaultRule &WithoutRange();

    /// Adds answers; the last one holds for all requests from then on.
    FaultRule &Answer(const FaultAnswer &answer) { return Then(answer); }
    FaultRule &Answer(int times, const FaultAnswer &answer);
    FaultRule &Then(const FaultAnswer &answer);

    bool Fits(const HttpRequest &request) const;
    /// The next answer.
    FaultAnswer Next();

private:
    QByteArray m_method;
    QByteArray m_path;
    bool m_withoutRange = false;
    bool m_withRange = false;
    qint64 m_first = 0;
    qint64 m_last = std::numeric_limits<qint64>::max();
    QList<FaultAnswer> m_answers;
};
