// SPDX-License-Identifier: MIT

#include "tests/kill/CallTrace.h"

#include <QFile>
#include <QHash>

#include <algorithm>
#include <numeric>

namespace
{
/// "1234 write(5</a/file>, ...) = 10"; joined when strace wrote it as an unfinished and a resumed
/// line.
struct Line {
    QByteArray call;
    QByteArray file;
    QByteArray descriptor;
    qint64 result;
};

Line gParseLine(const QByteArray &text)
{
    const int bracket = text.indexOf('(');
    const int fileStart = text.indexOf('<', bracket);
    const int fileEnd = text.indexOf(">, ", fileStart);
    const int equals = text.lastIndexOf("= ");
    if (bracket < 0 || fileStart < 0 || fileEnd < 0 || equals < fileEnd) {
        return {};
    }
    return {text.left(bracket), text.mid(fileStart + 1, fileEnd - fileStart - 1),
            text.mid(bracket + 1, fileStart - bracket - 1),
            text.mid(equals + 2).split(' ').first().toLongLong()};
}
} // namespace

CallTrace::CallTrace(const QString &path, const QString &file)
{
    static const QByteArray unfinished = " <unfinished ...>";
    QFile record(path);
    if (!record.open(QIODevice::ReadOnly)) {
        return;
    }
    QHash<QByteArray, QByteArray> begun;
    QHash<QByteArray, qint64> positions;
    const QByteArray name = QFile::encodeName(file);
    while (!record.atEnd()) {
        QByteArray text = record.readLine().trimmed();
        const int space = text.indexOf(' ');
        const QByteArray thread = text.left(space);
        text = text.mid(space + 1).trimmed();
        if (text.endsWith(unfinished)) {
            begun.insert(thread, text.chopped(unfinished.size()));
            continue;
        }
        if (text.startsWith("<... ")) {
            text = begun.take(thread) + text.mid(text.indexOf('>') + 1);
        }
        const Line line = gParseLine(text);
        if (line.file != name || line.result < 0) {
            continue;
        }
        if (line.call == "lseek") {
            positions[line.descriptor] = line.result;
        } else if (line.call == "write" && line.result > 0) {
            m_writes.append({positions[line.descriptor], line.result});
            positions[line.descriptor] += line.result;
        }
    }
}

QList<CallTrace::Write> CallTrace::Writes(qint64 first, qint64 past) const
{
    QList<Write> inside;
    std::copy_if(
        m_writes.begin(), m_writes.end(), std::back_inserter(inside),
        [first, past](const Write &write) { return write.offset >= first && write.offset < past; });
    return inside;
}

qint64 CallTrace::BytesWritten() const
{
    return std::accumulate(m_writes.begin(), m_writes.end(), qint64{0},
                           [](qint64 sum, const Write &write) { return sum + write.size; });
}
