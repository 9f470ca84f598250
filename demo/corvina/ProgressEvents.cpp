// SPDX-License-Identifier: MIT

#include "demo/corvina/ProgressEvents.h"

#include "demo/corvina/EventWriter.h"

namespace
{
constexpr int pauseMilliseconds = 100;
}

ProgressEvents::ProgressEvents(const EventWriter &writer, QObject *parent)
    : QObject(parent)
    , m_writer(writer)
{
    m_pause.setSingleShot(true);
    m_pause.setInterval(pauseMilliseconds);
    connect(&m_pause, &QTimer::timeout, this, &ProgressEvents::Flush);
}

void ProgressEvents::Add(int value, int maximum, const QString &text)
{
    m_heldBack = QJsonObject{{QStringLiteral("value"), value},
                             {QStringLiteral("maximum"), maximum},
                             {QStringLiteral("text"), text}};
    if (!m_pause.isActive()) {
        Flush();
    }
}

void ProgressEvents::Flush()
{
    if (m_heldBack.isEmpty()) {
        return;
    }
    m_writer.Write(QStringLiteral("progress"), m_heldBack);
    m_heldBack = {};
    m_pause.start();
}
