// SPDX-License-Identifier: MIT

#include "demo/corvina/EventWriter.h"

#include <QJsonDocument>

#include <iostream>

EventWriter::EventWriter()
{
    m_clock.start();
}

void EventWriter::Write(const QString &event, QJsonObject values) const
{
    values.insert(QStringLiteral("event"), event);
    values.insert(QStringLiteral("t_ms"), m_clock.elapsed());
    const QByteArray line = QJsonDocument(values).toJson(QJsonDocument::Compact) + '\n';
    std::cout.write(line.constData(), line.size()).flush();
}
