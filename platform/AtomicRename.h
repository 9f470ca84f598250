// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

enum class RenameResult {
    Renamed,
    /// Another program holds one of the two files; virus scanners do so for some seconds.
    Busy,
    Failed
};

/// Gives the file at @p from the name @p to, in one step of the system: at every moment there is
/// either the old file at @p to or the new one, whole. Both are to lie in one folder. What fails
/// leaves both files as they are.
/// @param failure receives the system's text for what failed
///
/// Thread: any.
RenameResult gRenameOver(const QString &from, const QString &to, QString *failure);
