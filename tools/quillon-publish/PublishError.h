// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <stdexcept>

/// Why a release is not published, as one line for the release engineer.
class PublishError : public std::runtime_error
{
public:
    explicit PublishError(const QString &message);

    QString Message() const { return QString::fromUtf8(what()); }
};
