// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>
#include <QString>

#include <chrono>
#include <memory>

class ProcessLock;
struct DownloadSystem;
enum class RenameResult;

/// Puts a new file in the place of another one, in one step of the system, and tries again for a
/// while where another program holds one of the two: virus scanners look at every new file, for
/// seconds.
///
///     Start ─► rename over, on a pool thread ─┬─► Replaced
///                  ▲                          ├─► Failed
///                  └────────── pause ─────────┘ held by another program
///
/// Thread:    GUI thread, which is never blocked.
/// Ownership: its Qt parent. The system outlives it. It may be deleted in any slot.
/// Errors:    `Failed`, with both files as they were; the log says why.
class FileReplacement : public QObject
{
    Q_OBJECT

public:
    FileReplacement(const DownloadSystem &system, QObject *parent);

    /// @param lock        kept until no attempt is under way, also behind `Cancel`: nobody else may
    ///                    write to the files before
    /// @param logFunction of the log lines; a text that is never freed
    void Start(const QString &from, const QString &to, const std::shared_ptr<ProcessLock> &lock,
               const char *logFunction);
    /// No further attempt is made, and no signal follows. One that is under way is not stopped.
    void Cancel();

signals:
    void Replaced();
    void Failed();

private:
    void Try();
    void Judge(RenameResult result, const QString &failure);

    const DownloadSystem &m_system;
    QString m_from;
    QString m_to;
    std::shared_ptr<ProcessLock> m_lock;
    const char *m_logFunction = "";
    std::chrono::milliseconds m_waited{0};
    /// Counts starts and cancels, so that an appointment of an earlier run is ignored.
    int m_run = 0;
};
