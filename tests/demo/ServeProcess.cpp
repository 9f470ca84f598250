// SPDX-License-Identifier: MIT

#include "tests/demo/ServeProcess.h"

namespace
{
constexpr int patience = 10000;
}

ServeProcess::ServeProcess(const QString &directory, const QStringList &options)
{
    m_process.start(QStringLiteral(QUILLON_SERVE), QStringList{directory} + options);
    while (!m_process.canReadLine() && m_process.waitForReadyRead(patience)) {
    }
    m_template = QString::fromUtf8(m_process.readLine());
}

ServeProcess::~ServeProcess()
{
    m_process.terminate();
    if (!m_process.waitForFinished(patience)) {
        m_process.kill();
    }
}

QUrl ServeProcess::Url(const QString &path) const
{
    return QUrl(m_template.section(QLatin1Char('/'), 0, 2) + path);
}
