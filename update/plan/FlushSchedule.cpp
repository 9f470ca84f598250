// SPDX-License-Identifier: MIT

#include "update/plan/FlushSchedule.h"

#include "api/Log.h"

FlushSchedule::FlushSchedule(ResumeState &state, const DownloadSystem &system, QObject *parent)
    : QObject(parent)
    , m_state(state)
    , m_system(system)
{
    m_timer.setSingleShot(true);
    m_timer.setInterval(m_system.flushTime);
    connect(&m_timer, &QTimer::timeout, this, &FlushSchedule::Flush);
}

void FlushSchedule::Begin(const QString &path)
{
    End();
    m_path = path;
}

void FlushSchedule::Written(qint64 bytes)
{
    m_unflushed += bytes;
    if (m_unflushed >= m_system.flushBytes) {
        Flush();
    } else if (!m_timer.isActive()) {
        m_timer.start();
    }
}

void FlushSchedule::End()
{
    ++m_download;
    m_path.clear();
    m_timer.stop();
    m_unflushed = 0;
    m_isFlushing = false;
}

void FlushSchedule::Flush()
{
    if (m_isFlushing || m_unflushed == 0 || m_path.isEmpty()) {
        return;
    }
    // What arrives from here on may or may not be flushed as well: only what is there now counts.
    Bytes bytes{};
    int number = 1;
    for (qint64 &byte : bytes) {
        byte = m_state.StartByte(number++);
    }
    m_timer.stop();
    m_unflushed = 0;
    m_isFlushing = true;
    const auto done = [this, bytes, download = m_download](FlushResult result) {
        if (download != m_download) {
            return;
        }
        switch (result) {
        case FlushResult::Flushed:
            Record(bytes);
            break;
        case FlushResult::Unknown:
            EndFlush();
            break;
        case FlushResult::Failed:
            MarkAsDoubtful();
            emit Failed();
            break;
        }
    };
    gFlushInBackground(m_path, m_system.flush, this, done);
}

void FlushSchedule::Record(const Bytes &bytes)
{
    if (!m_state.IsOpen()) {
        EndFlush();
        return; // The package is complete, and the state may be another process's.
    }
    const QString boot = m_system.bootIdentity();
    if (!boot.isEmpty() && m_state.KnowsBoot() && m_state.BootId().isEmpty()) {
        EndFlush();
        return; // Marked as doubtful: a system reports what it lost once, and not to later flushes.
    }
    m_state.SetBootId(boot);
    int number = 1;
    for (const qint64 byte : bytes) {
        m_state.SetFlushedByte(number++, byte);
    }
    m_state.Sync();
    // The data first, then the record of it: a record that is lost goes back to the one before.
    gFlushInBackground(m_state.Path(), gFlushToDisk, this, [this, download = m_download](auto) {
        if (download == m_download) {
            EndFlush();
        }
    });
}

void FlushSchedule::EndFlush()
{
    m_isFlushing = false;
    if (m_unflushed > 0) {
        Written(0);
    }
}

void FlushSchedule::MarkAsDoubtful()
{
    QUILLON_LOG("LiveUpdateMgr", "FlushSchedule::Flush",
                "disk failure, the data cannot be put on stable storage, file path = %s",
                m_path.toStdString().c_str());
    m_state.SetBootId(QString());
    m_state.Sync();
    End();
}
