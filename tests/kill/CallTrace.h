// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

/// The writes to one file, as strace recorded them.
///
/// strace has to be run with "-f -y -s 0" and has to trace "lseek" and "write".
class CallTrace
{
public:
    struct Write {
        qint64 offset;
        qint64 size;
    };

    /// Reads the record at @p path for writes to @p file. A write without a recorded end is left
    /// out.
    CallTrace(const QString &path, const QString &file);

    /// In the order of their ends.
    const QList<Write> &Writes() const { return m_writes; }
    /// The writes from byte @p first on that lie before @p past.
    QList<Write> Writes(qint64 first, qint64 past) const;
    qint64 BytesWritten() const;

private:
    QList<Write> m_writes;
};
