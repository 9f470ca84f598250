#include "update/BackgroundFlush.h"

#include <QFutureWatcher>
#include <QtConcurrentRun>

#include <utility>

void gFlushInBackground(const QString &path, const FlushFunction &flush, QObject *context,
                        std::function<void(FlushResult)> done)
{
    auto *watcher = new QFutureWatcher<FlushResult>(context);
    QObject::connect(watcher, &QFutureWatcherBase::finished, watcher,
                     [watcher, done = std::move(done)] {
                         watcher->deleteLater();
                         done(watcher->result());
                     });
    watcher->setFuture(QtConcurrent::run(flush, path));
}
