// SPDX-License-Identifier: MIT

#pragma once

#include "update/base/BackgroundFlush.h"

#include <QFutureWatcher>
#include <QtConcurrentRun>

#include <functional>
#include <utility>

/// Runs @p work on a thread of `gFlushPool()`, so that no window waits for the disk, and then @p done
/// with its result on the thread of @p context. It is not called once @p context is gone.
template<typename Result>
void gRunInBackground(std::function<Result()> work, QObject *context,
                      std::function<void(const Result &)> done)
{
    auto *watcher = new QFutureWatcher<Result>(context);
    QObject::connect(watcher, &QFutureWatcherBase::finished, watcher,
                     [watcher, done = std::move(done)] {
                         watcher->deleteLater();
                         done(watcher->result());
                     });
    watcher->setFuture(QtConcurrent::run(gFlushPool(), std::move(work)));
}
