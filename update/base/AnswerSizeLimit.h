// SPDX-License-Identifier: MIT

#pragma once

class QNetworkReply;

/// Aborts @p reply, with a line in the log, when it brings more than 16 MiB: a body without an end
/// would fill the memory and keep the caller waiting.
///
/// Thread: that of @p reply.
void gLimitAnswer(QNetworkReply *reply, const char *logFile, const char *logFunction);
