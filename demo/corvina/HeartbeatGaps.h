// SPDX-License-Identifier: MIT

#pragma once

#include "demo/corvina/GapHistogram.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

class EventWriter;

/// Measures how long the GUI thread is busy at a time: a timer fires every millisecond, and the
/// time from one beat to the next is as long as whatever came between them.
///
/// Thread:    GUI thread.
/// Ownership: its Qt parent; the writer outlives it.
class HeartbeatGaps : public QObject
{
    Q_OBJECT

public:
    HeartbeatGaps(const EventWriter &writer, QObject *parent);

    /// Starts beating, unless it does already.
    void Begin();

    /// Stops beating and writes one "gaps" event; does nothing when it does not beat. The time since
    /// the last beat counts: the thread may have been busy until now.
    void End();

private:
    void Beat();

    const EventWriter &m_writer;
    QTimer m_timer;
    QElapsedTimer m_sinceBeat;
    GapHistogram m_gaps;
};
