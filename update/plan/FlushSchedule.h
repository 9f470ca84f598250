// SPDX-License-Identifier: MIT

#pragma once

#include "update/base/DownloadSystem.h"
#include "update/plan/ResumeState.h"

#include <QObject>
#include <QTimer>

#include <array>

/// Puts a download's data on stable storage every so often, and then records how far each range had
/// come when that began. The system may keep the resume state and lose data over a loss of power;
/// what is recorded here is not lost.
///
///     Begin ─► Written, Written, … ─► enough bytes or time ─► flush on a pool thread
///                           recorded, and the record flushed; or Failed ◄─┘
///
/// Thread:    GUI thread. Ownership: its Qt parent. The state and the system outlive it.
class FlushSchedule : public QObject
{
    Q_OBJECT

public:
    FlushSchedule(ResumeState &state, const DownloadSystem &system, QObject *parent);

    /// A download into the file at @p path starts or goes on.
    void Begin(const QString &path);
    /// @p bytes more were written and are in the resume state.
    void Written(qint64 bytes);
    /// The download is over: nothing is recorded any more.
    void End();

signals:
    /// The disk could not keep the data. The state has been marked so that the next plan goes back
    /// to what was flushed before.
    void Failed();

private:
    using Bytes = std::array<qint64, ResumeState::rangeCount>;

    void Flush();
    void Record(const Bytes &bytes);
    void EndFlush();
    void MarkAsDoubtful();

    ResumeState &m_state;
    const DownloadSystem &m_system;
    QTimer m_timer;
    QString m_path;
    qint64 m_unflushed = 0;
    bool m_isFlushing = false;
    /// Counts the downloads, so that a late flush is not recorded for the next one.
    int m_download = 0;
};
