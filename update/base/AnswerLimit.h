// SPDX-License-Identifier: MIT

#pragma once

class QNetworkReply;

/// Gives @p reply up, with a line in the log, when it brings more than any answer of the service has. A body
/// without an end must neither fill the memory nor keep anyone waiting.
///
/// Thread: that of @p reply.
void gLimitAnswer(QNetworkReply *reply, const char *logFile, const char *logFunction);
