// SPDX-License-Identifier: MIT

#pragma once

#include <QNetworkProxy>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QUrl>

/// Apache as a proxy, in a process of its own on a free port of the loopback interface: it forwards
/// requests, and tunnels encrypted connections.
///
/// Qt never asks a proxy for an address of the loopback interface. A test therefore asks for
/// 0.0.0.0, which is no such address and leads there on this system; see `Outside`.
///
/// Ownership: the creator; the process ends with the object.
class ProxyProcess
{
public:
    ProxyProcess();
    ~ProxyProcess();
    ProxyProcess(const ProxyProcess &) = delete;
    ProxyProcess &operator=(const ProxyProcess &) = delete;

    /// Starts the proxy; after `Stop`, on the same port again. Without a @p password it serves
    /// everybody, else only "someone" with this password. @return whether it is ready
    bool Start(const QString &password = QString());
    /// Ends the process; its connections end, and later ones are refused.
    void Stop();

    /// The proxy as a host names it, with "someone" and @p password.
    QNetworkProxy Proxy(const QString &password = QString()) const;

    /// Every request that the proxy has ended, and its status: "GET http://0.0.0.0:1/a HTTP/1.1 206".
    QStringList Requests() const;

    /// The address or host @p address of a test server, so that Qt asks a proxy for it.
    static QString Outside(QString address);

private:
    bool WriteConfiguration(const QString &password) const;
    bool WaitUntilReady();
    QString Path(const char *name) const { return m_folder.filePath(QLatin1String(name)); }

    QTemporaryDir m_folder;
    QProcess m_process;
    quint16 m_port = 0;
};
