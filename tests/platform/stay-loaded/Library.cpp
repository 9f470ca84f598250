// SPDX-License-Identifier: MIT

#include "api/QuillonInit.h"
#include "update/base/BackgroundFlush.h"
#include "update/UpdateCommon/NetworkAccessManagerTimeout.h"
#include "update/UpdateCommon/UpdateEventReport.h"

#include <QCoreApplication>
#include <QNetworkRequest>
#include <QThread>
#include <QUrl>

// What leaves code of the module behind that runs later, with the host's argument.

extern "C" Q_DECL_EXPORT void gDoNothing(const char * /*unused*/) {}

/// @param configFolder with the host of the reports
extern "C" Q_DECL_EXPORT void gStartReport(const char *configFolder)
{
    QuillonInit::SetConfigFileDir(QString::fromUtf8(configFolder));
    UpdateEventReport::GetInstance()->ReportEvent(EventSink::DownloadError);
}

extern "C" Q_DECL_EXPORT void gSendReport(const char *configFolder)
{
    gStartReport(configFolder);
    UpdateEventReport::GetInstance()->WaitForReports();
}

/// The flush goes on until the application object ends.
extern "C" Q_DECL_EXPORT void gStartFlush(const char * /*unused*/)
{
    const auto flush = [](const QString & /*path*/) {
        while (!QCoreApplication::closingDown()) {
            QThread::yieldCurrentThread();
        }
        return FlushResult::Flushed;
    };
    gFlushInBackground(QString(), flush, QCoreApplication::instance(), [](FlushResult) {});
}

/// The runner deletes itself in the event loop.
extern "C" Q_DECL_EXPORT void gSendRequest(const char * /*unused*/)
{
    auto *runner = new NetworkAccessManagerTimeout;
    runner->Get(QNetworkRequest(QUrl(QStringLiteral("http://127.0.0.1:1/"))), 10000);
}
