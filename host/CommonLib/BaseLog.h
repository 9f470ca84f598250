// SPDX-License-Identifier: MIT

#pragma once

#include "CommonLibExport.h"

#include <QtGlobal>

/// The host's process-wide logger.
///
/// Every line goes to the Qt logging category "corvina." + file at info level, with file, function
/// and line in its `QMessageLogContext`: a host routes it with `qInstallMessageHandler` and filters
/// it with the rules of `QLoggingCategory`, for example "corvina.LiveUpdateMgr.info=false".
///
/// Thread: any. Errors: none; a line that cannot be written is lost.
class COMMONLIB_EXPORT BaseLog
{
public:
    BaseLog() = default;
    BaseLog(const BaseLog &) = delete;
    BaseLog &operator=(const BaseLog &) = delete;
    virtual ~BaseLog();

    /// Writes one line. Callers bind to this function by its place in the table of virtuals: it is
    /// the second virtual of the class, behind the destructor (tst_BaseLog).
    /// @param file     name of the source file that logs, without folder and extension
    /// @param function qualified name of the function that logs
    /// @param line     line number in the source file
    /// @param format   printf-style message; text arguments are narrow UTF-8 strings. Line breaks
    ///                 and other control characters in the message become blanks, so one call is
    ///                 one line.
    virtual void Log(const char *file, const char *function, int line, const char *format, ...)
        Q_ATTRIBUTE_FORMAT_PRINTF(5, 6);
};

/// The one logger of the process; never null and never deleted by the caller.
COMMONLIB_EXPORT BaseLog *GetGlobalLogInstance();
