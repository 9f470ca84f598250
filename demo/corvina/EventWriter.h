// SPDX-License-Identifier: MIT

#pragma once

#include <QElapsedTimer>
#include <QJsonObject>
#include <QString>

/// Prints what happens as one JSON object a line on stdout, each with "event" and "t_ms", the
/// milliseconds since this object was made. Every line is flushed, so that a script can follow.
///
/// Thread: GUI thread. Errors: none; what stdout does not take is lost.
class EventWriter
{
public:
    EventWriter();

    void Write(const QString &event, QJsonObject values = {}) const;

private:
    QElapsedTimer m_clock;
};
