#pragma once

#include "platform/StableStorage.h"

#include <QString>

#include <functional>

class QObject;

using FlushFunction = std::function<FlushResult(const QString &path)>;

/// Runs @p flush on the file at @p path on a pool thread, so that no window waits for the disk, and
/// then @p done on the thread of @p context. Once @p context is gone, nobody is told.
void gFlushInBackground(const QString &path, const FlushFunction &flush, QObject *context,
                        std::function<void(FlushResult)> done);
