// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>
#include <QString>

#include <chrono>

struct DownloadSystem;

/// Puts a new file in the place of another one, in one step of the system, and tries again for a
/// while where another program holds one of the two: virus scanners look at every new file, for
/// seconds.
///
///     Start ─► rename over ─┬─► Replaced
///                  ▲        ├─► Failed
///                  └─ pause ┘ held by another program
///
/// Thread:    GUI thread, which is never blocked.
/// Ownership: its Qt parent. The system outlives it. It may be deleted in any slot.
/// Errors:    `Failed`, with both files as they were; the log says why.
class FileReplacement : public QObject
{
    Q_OBJECT

public:
    FileReplacement(const DownloadSystem &system, QObject *parent);

    /// The first attempt is made at once, so the signal may arrive before this returns.
    /// @param logFunction of the log lines; a text that is never freed
    void Start(const QString &from, const QString &to, const char *logFunction);
    /// No further attempt is made, and no signal follows.
    void Cancel() { ++m_run; }

signals:
    void Replaced();
    void Failed();

private:
    void Try();

    const DownloadSystem &m_system;
    QString m_from;
    QString m_to;
    const char *m_logFunction = "";
    std::chrono::milliseconds m_waited{0};
    /// Counts starts and cancels, so that an appointment of an earlier run is ignored.
    int m_run = 0;
};
