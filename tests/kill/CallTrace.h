// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

/// What strace recorded of the writes to one file.
///
/// Needs "-f -y -s 0", and the calls "lseek" and "write".
class CallTrace
{
public:
    struct Write {
        qint64 offset;
        qint64 size;
    };

    /// Reads the record at @p path for writes to @p file. One that was not seen to end is left out.
    CallTrace(const QString &path, const QString &file);

    /// In the order of their ends.
    const QList<Write> &Writes() const { return m_writes; }
    /// The writes from byte @p first on that lie before @p past.
    QList<Write> Writes(qint64 first, qint64 past) const;
    qint64 BytesWritten() const;

private:
    QList<Write> m_writes;
};
