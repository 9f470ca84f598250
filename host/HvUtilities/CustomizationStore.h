// SPDX-License-Identifier: MIT

#pragma once

#include <QHash>
#include <QPair>
#include <QString>

#include <optional>

class QIODevice;

/// The values of a customisation file by key and language. HvUtilities.h describes the file.
///
/// Thread: one thread.
class CustomizationStore
{
public:
    /// Replaces the values by those of the file at @p path.
    /// @return false, with an empty store, when it cannot be read or is not a customisation file.
    bool Load(const QString &path);

    /// The value of @p key for @p language, or that for all languages; none when there is neither.
    std::optional<QString> Value(const QString &key, const QString &language) const;

private:
    /// By key and language; the empty language stands for all.
    using Values = QHash<QPair<QString, QString>, QString>;

    static std::optional<Values> Parse(QIODevice *file);

    Values m_values;
};
