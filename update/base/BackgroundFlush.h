// SPDX-License-Identifier: MIT

#pragma once

#include "platform/StableStorage.h"

#include <QString>

#include <functional>
#include <memory>

class ProcessLock;
class QObject;
class QThreadPool;

using FlushFunction = std::function<FlushResult(const QString &path)>;

/// The threads that wait for the disk: they flush, make, read and rename files. The application's own
/// pool is not used, since a host that renders keeps all of its threads busy. The pool ends with the
/// application object, which owns it.
///
/// Thread: GUI thread.
QThreadPool *gFlushPool();

/// Runs @p flush on the file at @p path on a pool thread, so that no window waits for the disk, and
/// then @p done on the thread of @p context. It is not called once @p context is gone.
void gFlushInBackground(const QString &path, const FlushFunction &flush, QObject *context,
                        std::function<void(FlushResult)> done);

/// The same with @p flushFolder for the names in @p folder. The lock is kept until it has ended, also
/// without @p context: nobody else may change the files before.
void gFlushFolderInBackground(const QString &folder,
                              const std::function<void(const QString &)> &flushFolder,
                              const std::shared_ptr<ProcessLock> &lock, QObject *context,
                              const std::function<void()> &done);
