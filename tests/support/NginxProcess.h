// SPDX-License-Identifier: MIT

#pragma once

#include <QList>
#include <QProcess>
#include <QString>

#include <functional>

/// nginx in a process of its own, on free ports of the loopback interface.
///
/// Ownership: the creator; the process ends with the object.
class NginxProcess
{
public:
    /// Writes "nginx.conf" for the ports that nginx is to listen on. @return whether it is written
    using WriteConfiguration = std::function<bool(const QList<int> &ports)>;

    NginxProcess() = default;
    ~NginxProcess();
    NginxProcess(const NginxProcess &) = delete;
    NginxProcess &operator=(const NginxProcess &) = delete;

    /// Starts nginx with the "nginx.conf" in @p folder. @return whether it is ready
    bool Start(const QString &folder, int portCount, const WriteConfiguration &write);

    /// Ends the process; later connections are refused.
    void Stop();

    QList<int> Ports() const { return m_ports; }

private:
    bool WaitUntilReady();

    QProcess m_process;
    QList<int> m_ports;
};
