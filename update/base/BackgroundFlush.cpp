// SPDX-License-Identifier: MIT

#include "update/base/BackgroundFlush.h"

#include <QCoreApplication>
#include <QFutureWatcher>
#include <QPointer>
#include <QtConcurrentRun>
#include <QThreadPool>

#include <utility>

QThreadPool *gFlushPool()
{
    static QPointer<QThreadPool> pool;
    if (pool == nullptr) {
        pool = new QThreadPool(QCoreApplication::instance());
    }
    return pool;
}

void gFlushInBackground(const QString &path, const FlushFunction &flush, QObject *context,
                        std::function<void(FlushResult)> done)
{
    auto *watcher = new QFutureWatcher<FlushResult>(context);
    QObject::connect(watcher, &QFutureWatcherBase::finished, watcher,
                     [watcher, done = std::move(done)] {
                         watcher->deleteLater();
                         done(watcher->result());
                     });
    watcher->setFuture(QtConcurrent::run(gFlushPool(), flush, path));
}
