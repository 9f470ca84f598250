// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>

/// The program "bspatch.exe" beside the running test, which needs an output folder of its own for
/// it. The destructor removes the program.
///
/// Thread: any; one object at a time. Errors: what cannot be written ends the whole test.
class PatchProgram
{
public:
    /// The real program, the one in the system's path.
    PatchProgram();
    /// A stand-in that executes @p orders, see StandIn.
    explicit PatchProgram(const QByteArray &orders);
    ~PatchProgram();
    PatchProgram(const PatchProgram &) = delete;
    PatchProgram &operator=(const PatchProgram &) = delete;

    static QString Path();

    /// The patch that turns @p oldBytes into @p newBytes, made by the system's program "bsdiff".
    static QByteArray MakePatch(const QByteArray &oldBytes, const QByteArray &newBytes);
};
