// SPDX-License-Identifier: MIT

#include "update/base/BackgroundFlush.h"

#include "platform/ProcessLock.h"
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

void gFlushFolderInBackground(const QString &folder,
                              const std::function<void(const QString &)> &flushFolder,
                              const std::shared_ptr<ProcessLock> &lock, QObject *context,
                              const std::function<void()> &done)
{
    const auto flush = [flushFolder, folder, held = lock]() mutable {
        flushFolder(folder);
        held.reset();
        return true;
    };
    gRunInBackground<bool>(flush, context, [done](bool) { done(); });
}
