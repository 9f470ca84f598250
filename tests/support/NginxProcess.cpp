// SPDX-License-Identifier: MIT

#include "tests/support/NginxProcess.h"

#include <QDeadlineTimer>
#include <QTcpServer>
#include <QTcpSocket>

#include <algorithm>
#include <vector>

namespace
{
QList<int> gFreePorts(int count)
{
    // All are held until the last one is found, so that none comes twice.
    std::vector<QTcpServer> probes(static_cast<std::size_t>(count));
    QList<int> ports;
    for (QTcpServer &probe : probes) {
        probe.listen(QHostAddress::LocalHost);
        ports.append(probe.serverPort());
    }
    return ports;
}

bool gAnswers(int port)
{
    QTcpSocket socket;
    socket.connectToHost(QHostAddress(QHostAddress::LocalHost), static_cast<quint16>(port));
    return socket.waitForConnected(1000);
}
} // namespace

NginxProcess::~NginxProcess()
{
    Stop();
}

void NginxProcess::Stop()
{
    m_process.kill();
    m_process.waitForFinished();
}

bool NginxProcess::Start(const QString &folder, int portCount, const WriteConfiguration &write)
{
    // Another process may take a free port first; then nginx ends, and the next ones are tried.
    for (int attempt = 0; attempt < 5; ++attempt) {
        m_ports = gFreePorts(portCount);
        if (!write(m_ports)) {
            return false;
        }
        m_process.start(QStringLiteral("/usr/sbin/nginx"),
                        {QStringLiteral("-p"), folder, QStringLiteral("-c"),
                         QStringLiteral("nginx.conf"), QStringLiteral("-e"),
                         QStringLiteral("error.log")});
        if (WaitUntilReady()) {
            return true;
        }
    }
    return false;
}

bool NginxProcess::WaitUntilReady()
{
    QDeadlineTimer limit(5000);
    while (!limit.hasExpired() && !m_process.waitForFinished(20)) {
        if (std::all_of(m_ports.cbegin(), m_ports.cend(), gAnswers)) {
            return true;
        }
    }
    return false;
}
