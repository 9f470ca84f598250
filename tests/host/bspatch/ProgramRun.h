// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

class PatchFolder;

/// One run of a program, from its start to its end.
struct ProgramRun {
    /// -1 when the program did not end by itself.
    int exitCode = -1;
    /// With "\n" as the line end on every system.
    QByteArray output;
    QByteArray errors;

    static ProgramRun Of(const QString &program, const QStringList &arguments,
                         const QString &folder = {});

    /// Runs @p program. Empty when it gave the exit code 0 and no output; otherwise what it gave.
    static QString Complaint(const QString &program, const QStringList &arguments,
                             const QString &folder = {});

    /// The same for the patch program on the folder's files.
    static QString ComplaintOfBspatch(const PatchFolder &folder);
    static QString Bspatch();
};
