// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QtGlobal>

/// A lock between processes that ends with the process that holds it, however that ends: nothing is
/// ever left over that another one would have to wait for.
///
/// It is a file that the system locks, and that is removed with the lock. A file without a lock, as a
/// killed process leaves it, means nothing. Two objects exclude each other in one process, too.
///
/// Thread: any, one at a time.
class ProcessLock
{
public:
    enum class Outcome {
        Taken,
        HeldByAnother,
        /// The file cannot be created, or its file system knows no locks: nobody can tell.
        Unavailable
    };

    ProcessLock() = default;
    /// Gives the lock back.
    ~ProcessLock();
    ProcessLock(const ProcessLock &) = delete;
    ProcessLock &operator=(const ProcessLock &) = delete;

    /// Never waits. One that is held already is given back first.
    Outcome TryLock(const QString &path);
    void Unlock();

private:
    static constexpr qintptr closed = -1;

    QString m_path;
    /// The system's handle of the open file.
    qintptr m_file = closed;
};
