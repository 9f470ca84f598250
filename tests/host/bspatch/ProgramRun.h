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
    /// With plain ends of lines on every system.
    QByteArray output;
    QByteArray errors;

    static ProgramRun Of(const QString &program, const QStringList &arguments,
                         const QString &folder = {});

    /// Empty when the program ran well and silently.
    static QString Complaint(const QString &program, const QStringList &arguments,
                             const QString &folder = {});

    /// Runs the patch program on the folder's files. Empty when it was content.
    static QString ComplaintOfBspatch(const PatchFolder &folder);
    static QString Bspatch();
};
