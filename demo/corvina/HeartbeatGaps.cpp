// SPDX-License-Identifier: MIT

#include "demo/corvina/HeartbeatGaps.h"

#include "demo/corvina/EventWriter.h"

HeartbeatGaps::HeartbeatGaps(const EventWriter &writer, QObject *parent)
    : QObject(parent)
    , m_writer(writer)
{
    m_timer.setTimerType(Qt::PreciseTimer);
    m_timer.setInterval(1);
    connect(&m_timer, &QTimer::timeout, this, &HeartbeatGaps::Beat);
}

void HeartbeatGaps::Begin()
{
    if (!m_timer.isActive()) {
        m_gaps = {};
        m_sinceBeat.start();
        m_timer.start();
    }
}

void HeartbeatGaps::End()
{
    if (!m_timer.isActive()) {
        return;
    }
    Beat();
    m_timer.stop();
    m_writer.Write(QStringLiteral("gaps"), {{QStringLiteral("max_ms"), m_gaps.MaxMs()},
                                            {QStringLiteral("p999_ms"), m_gaps.P999Ms()}});
}

void HeartbeatGaps::Beat()
{
    m_gaps.Add(m_sinceBeat.nsecsElapsed());
    m_sinceBeat.start();
}
