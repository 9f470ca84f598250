// SPDX-License-Identifier: MIT

#include "tests/e2e/QuillonServe.h"

#include <QUrl>

QuillonServe::~QuillonServe()
{
    QuillonServe::Stop();
}

void QuillonServe::Stop()
{
    m_process.kill();
    m_process.waitForFinished();
}

bool QuillonServe::Start(const QString &site, int bytesPerSecond)
{
    QStringList arguments{site};
    if (bytesPerSecond > 0) {
        arguments << QStringLiteral("--rate") << QString::number(bytesPerSecond);
    }
    m_process.start(QStringLiteral(QUILLON_SERVE), arguments);
    while (!m_process.canReadLine()) {
        if (!m_process.waitForReadyRead()) {
            return false;
        }
    }
    const QUrl url(QString::fromUtf8(m_process.readLine()).trimmed());
    m_baseUrl = url.toString(QUrl::RemovePath | QUrl::RemoveQuery);
    return url.isValid();
}

QStringList QuillonServe::Requests()
{
    m_process.waitForReadyRead(0);
    m_log += QString::fromUtf8(m_process.readAllStandardError());
    return m_log.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}
