// SPDX-License-Identifier: MIT

#pragma once

#include <QList>
#include <QMutex>
#include <QString>
#include <QStringList>
#include <QtGlobal>

/// Collects what is logged while the object lives. Nothing of it is written to the console.
///
/// Thread: lines may come from any thread. One capture at a time; the destructor restores the
/// earlier message handler.
class LogCapture
{
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;

    /// How many lines of @p function and of the source @p file consist of @p message.
    int Count(const QString &file, const QString &function, const QString &message) const;

    /// How many lines of any source and level contain @p text.
    int CountContaining(const QString &text) const;

    /// Every message of the source @p file, in order, as it was written; of one @p function, or of
    /// all.
    QStringList Messages(const QString &file, const QString &function = QString()) const;

private:
    struct Line {
        QtMsgType type;
        QString category;
        QString function;
        QString message;
    };

    static void Handle(QtMsgType type, const QMessageLogContext &context, const QString &message);

    QtMessageHandler m_previous;
    mutable QMutex m_mutex;
    QList<Line> m_lines;
};
