// SPDX-License-Identifier: MIT

#pragma once

#include "platform/StableStorage.h"

#include <QByteArray>
#include <QMutex>
#include <QRandomGenerator>
#include <QString>

#include <optional>

/// A disk that keeps the bytes of a file as they were when a flush began, and sometimes, but not the
/// first time, reports a failure.
///
/// Thread: any.
class FlushedDisk
{
public:
    explicit FlushedDisk(quint32 seed)
        : m_random(seed)
    {
    }

    FlushResult Flush(const QString &path);

    /// What the last flush kept; nothing without one.
    std::optional<QByteArray> Flushed() const;
    /// From now on @p flushed is what was kept.
    void Keep(const std::optional<QByteArray> &flushed);

private:
    mutable QMutex m_mutex;
    QRandomGenerator m_random;
    std::optional<QByteArray> m_flushed;
};
