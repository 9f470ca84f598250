// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

class QNetworkReply;

/// The most that is read of the answer to a check, in bytes, after it was decompressed. A manifest has
/// some kilobytes; the time to parse a longer text would keep the user waiting.
inline constexpr qint64 mostAnswerBytes = qint64{1024} * 1024;

/// Aborts @p reply, with a line in the log, when more than `mostAnswerBytes` are waiting to be read: a
/// body without an end would fill the memory and keep the caller waiting.
///
/// Thread: that of @p reply.
void gLimitAnswer(QNetworkReply *reply, const char *logFile, const char *logFunction);
