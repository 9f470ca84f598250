// SPDX-License-Identifier: MIT

#include "update/base/AnswerSizeLimit.h"

#include "api/Log.h"

#include <QNetworkReply>

void gLimitAnswer(QNetworkReply *reply, const char *logFile, const char *logFunction)
{
    // Not its progress: that is told ten times a second, and never while an answer is short enough to
    // arrive within that time.
    QObject::connect(reply, &QNetworkReply::readyRead, reply, [reply, logFile, logFunction] {
        if (reply->bytesAvailable() > mostAnswerBytes && reply->isRunning()) {
            QUILLON_LOG(logFile, logFunction, "given up, the answer is longer than %lld bytes",
                        mostAnswerBytes);
            reply->abort();
        }
    });
}
