// SPDX-License-Identifier: MIT

#pragma once

#include <QJsonObject>
#include <QObject>
#include <QString>
#include <QTimer>

class EventWriter;

/// Writes the moves of a progress bar as "progress" events, at most ten a second and always the
/// last.
///
/// Thread:    GUI thread.
/// Ownership: its Qt parent; the writer outlives it.
class ProgressEvents : public QObject
{
    Q_OBJECT

public:
    ProgressEvents(const EventWriter &writer, QObject *parent);

    void Add(int value, int maximum, const QString &text);

    /// Writes the move that is held back, if there is one: something else is about to be told.
    void Flush();

private:
    const EventWriter &m_writer;
    QTimer m_pause;
    QJsonObject m_heldBack;
};
