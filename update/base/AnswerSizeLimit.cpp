// SPDX-License-Identifier: MIT

#include "update/base/AnswerSizeLimit.h"

#include "api/Log.h"

#include <QNetworkReply>

void gLimitAnswer(QNetworkReply *reply, const char *logFile, const char *logFunction)
{
    // A manifest has some kilobytes.
    constexpr qint64 mostBytes = qint64{16} * 1024 * 1024;

    QObject::connect(reply, &QNetworkReply::downloadProgress, reply,
                     [reply, logFile, logFunction](qint64 received) {
                         if (received > mostBytes && reply->isRunning()) {
                             QUILLON_LOG(logFile, logFunction,
                                         "given up, the answer is longer than %lld bytes",
                                         mostBytes);
                             reply->abort();
                         }
                     });
}
