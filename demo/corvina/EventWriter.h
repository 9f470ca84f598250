// SPDX-License-Identifier: MIT

#pragma once

#include <QElapsedTimer>
#include <QJsonObject>
#include <QString>

/// Prints events to stdout, each as a line with one JSON object that has "event" and "t_ms", the
/// milliseconds since this object was made. Every line is flushed, so that a script can read it at
/// once.
///
/// Thread: GUI thread. Errors: none; a line that cannot be written is lost.
class EventWriter
{
public:
    EventWriter();

    void Write(const QString &event, QJsonObject values = {}) const;

private:
    QElapsedTimer m_clock;
};
