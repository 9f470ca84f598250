// SPDX-License-Identifier: MIT

#pragma once

#include <QJsonObject>
#include <QObject>
#include <QString>
#include <QTimer>

class EventWriter;

/// Writes the values of a progress bar as "progress" events: at most ten a second, and always the
/// last one.
///
/// Thread:    GUI thread.
/// Ownership: its Qt parent; the writer outlives it.
class ProgressEvents : public QObject
{
    Q_OBJECT

public:
    ProgressEvents(const EventWriter &writer, QObject *parent);

    void Add(int value, int maximum, const QString &text);

    /// Writes the value that is held back, if there is one. Call it before another event is
    /// written, so that the events stay in order.
    void Flush();

private:
    const EventWriter &m_writer;
    QTimer m_pause;
    QJsonObject m_heldBack;
};
