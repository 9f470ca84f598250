// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

/// Runs @p program with @p arguments until it ends, and writes the seconds that have passed to the
/// standard output every 3 s, in lines that begin with @p label.
///
/// @param limitSeconds after this time the program is ended; -1 is no limit
/// @return the milliseconds that it took
/// @throws PublishError when it cannot be started, fails, or takes too long.
qint64 gRunProgram(const QString &program, const QStringList &arguments, const QString &label,
                   int limitSeconds);
