// SPDX-License-Identifier: MIT

#pragma once

#include "tests/e2e/LocalServer.h"

#include <QProcess>

/// The project's own update service for one machine.
class QuillonServe : public LocalServer
{
public:
    ~QuillonServe() override;
    bool Start(const QString &site, int bytesPerSecond) override;
    void Stop() override;
    QStringList Requests() override;

private:
    QProcess m_process;
    QString m_log;
};
