// SPDX-License-Identifier: MIT

#pragma once

#include "platform/StableStorage.h"

#include <QString>

#include <functional>

class QObject;
class QThreadPool;

using FlushFunction = std::function<FlushResult(const QString &path)>;

/// The threads that flush. They are not those of the application's own pool: a host that keeps all of those
/// busy must not hold up a package that is complete. It ends with the application object, which owns it.
///
/// Thread: GUI thread.
QThreadPool *gFlushPool();

/// Runs @p flush on the file at @p path on a pool thread, so that no window waits for the disk, and
/// then @p done on the thread of @p context. Once @p context is gone, nobody is told.
void gFlushInBackground(const QString &path, const FlushFunction &flush, QObject *context,
                        std::function<void(FlushResult)> done);
