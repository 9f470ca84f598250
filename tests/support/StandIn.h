// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>

/// A small program that tests start in the place of an installer or of the patch program, on every
/// system. The orders that it executes stand at the end of its own file, one a line, with tabs
/// between the words; "$1" to "$9" stand for the program's arguments:
///
///     write FILE TEXT     copy FROM TO     arguments FILE     pid FILE
///     sleep SECONDS       exit CODE        crash
///
/// Files appear complete. Without "exit" or "crash" the program ends with 0.
///
/// Thread: any. Errors: a program that is not there ends the whole test.
class StandIn
{
public:
    /// The bytes of a program that executes @p orders. @p padding, bytes of any kind, makes it larger.
    static QByteArray Bytes(const QByteArray &orders, const QByteArray &padding = {});
};
