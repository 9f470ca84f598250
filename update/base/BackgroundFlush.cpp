// SPDX-License-Identifier: MIT

#include "update/base/BackgroundFlush.h"

#include "platform/StayLoaded.h"
#include "update/base/BackgroundWork.h"

#include <QCoreApplication>
#include <QPointer>
#include <QThreadPool>

#include <utility>

QThreadPool *gFlushPool()
{
    static QPointer<QThreadPool> pool;
    if (pool == nullptr) {
        gStayLoaded();
        pool = new QThreadPool(QCoreApplication::instance());
    }
    return pool;
}

void gFlushInBackground(const QString &path, const FlushFunction &flush, QObject *context,
                        std::function<void(FlushResult)> done)
{
    gRunInBackground<FlushResult>([flush, path] { return flush(path); }, context, std::move(done));
}
