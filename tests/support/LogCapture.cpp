// SPDX-License-Identifier: MIT

#include "tests/support/LogCapture.h"

#include <QMutexLocker>

namespace
{
// A message handler is a plain function without data of its own, so its capture stands here.
LogCapture *gCapture = nullptr;
} // namespace

LogCapture::LogCapture()
{
    gCapture = this;
    m_previous = qInstallMessageHandler(&LogCapture::Handle);
}

LogCapture::~LogCapture()
{
    qInstallMessageHandler(m_previous);
    gCapture = nullptr;
}

int LogCapture::Count(const QString &file, const QString &function, const QString &message) const
{
    const QMutexLocker lock(&m_mutex);
    int count = 0;
    for (const Line &line : m_lines) {
        const bool ofFunction = line.function == function || line.message.contains(function);
        const bool says =
            line.message == message || line.message.endsWith(QLatin1Char(' ') + message);
        if (line.type == QtInfoMsg && line.category == QStringLiteral("corvina.") + file &&
            ofFunction && says) {
            ++count;
        }
    }
    return count;
}

int LogCapture::CountContaining(const QString &text) const
{
    const QMutexLocker lock(&m_mutex);
    int count = 0;
    for (const Line &line : m_lines) {
        count += line.message.contains(text) ? 1 : 0;
    }
    return count;
}

QStringList LogCapture::Messages(const QString &file, const QString &function) const
{
    const QMutexLocker lock(&m_mutex);
    QStringList messages;
    for (const Line &line : m_lines) {
        if (line.category == QStringLiteral("corvina.") + file &&
            (function.isEmpty() || line.function == function)) {
            messages.append(line.message);
        }
    }
    return messages;
}

void LogCapture::Handle(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    const QMutexLocker lock(&gCapture->m_mutex);
    gCapture->m_lines.append(
        {type, QString::fromUtf8(context.category), QString::fromUtf8(context.function), message});
}
