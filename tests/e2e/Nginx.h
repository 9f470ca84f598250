// SPDX-License-Identifier: MIT

#pragma once

#include "tests/e2e/LocalServer.h"
#include "tests/support/NginxProcess.h"

#include <QTemporaryDir>

/// nginx as the update service.
class Nginx : public LocalServer
{
public:
    bool Start(const QString &site, int bytesPerSecond) override;
    void Stop() override { m_nginx.Stop(); }
    QStringList Requests() override;

private:
    bool WriteConfiguration(const QString &site, int bytesPerSecond, int port);

    QTemporaryDir m_folder;
    NginxProcess m_nginx;
};
