// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QtGlobal>

/// A lock between processes. It ends with the process that holds it, also when that is killed.
///
/// The lock is the system's lock on a file; the file is removed with the lock. A file that a killed
/// process left has no lock on it and excludes no one. Two objects in one process exclude each
/// other, too. tst_ProcessLock holds all of this.
///
/// Thread: any, one at a time.
class ProcessLock
{
public:
    enum class Outcome {
        Taken,
        HeldByAnother,
        /// The file cannot be created, or its file system has no locks; whether another process
        /// would exclude this one is unknown.
        Unavailable
    };

    ProcessLock() = default;
    /// Releases the lock.
    ~ProcessLock();
    ProcessLock(const ProcessLock &) = delete;
    ProcessLock &operator=(const ProcessLock &) = delete;

    /// Returns without waiting for another holder. A lock that this object holds is released first.
    Outcome TryLock(const QString &path);
    void Unlock();

private:
    static constexpr qintptr closed = -1;

    QString m_path;
    /// The system's handle of the open file.
    qintptr m_file = closed;
};
