// SPDX-License-Identifier: MIT

#include "tests/kill/FlushedDisk.h"

#include "tests/support/TestFiles.h"

#include <QThread>

FlushResult FlushedDisk::Flush(const QString &path)
{
    constexpr int oneIn = 10;
    constexpr quint32 slowestMs = 4;

    const QByteArray data = gReadFile(path);
    const QMutexLocker locker(&m_mutex);
    QThread::msleep(m_random.bounded(slowestMs));
    if (m_random.bounded(oneIn) == 0 && m_flushed.has_value()) {
        return FlushResult::Unknown;
    }
    m_flushed = data;
    return FlushResult::Flushed;
}

std::optional<QByteArray> FlushedDisk::Flushed() const
{
    const QMutexLocker locker(&m_mutex);
    return m_flushed;
}

void FlushedDisk::Keep(const std::optional<QByteArray> &flushed)
{
    const QMutexLocker locker(&m_mutex);
    m_flushed = flushed;
}
