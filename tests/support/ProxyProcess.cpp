// SPDX-License-Identifier: MIT

#include "tests/support/ProxyProcess.h"

#include "tests/support/TestFiles.h"

#include <QCryptographicHash>
#include <QDeadlineTimer>
#include <QTcpServer>
#include <QTcpSocket>

namespace
{
const char *const user = "someone";

quint16 gFreePort()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost);
    return probe.serverPort();
}

QByteArray gModules()
{
    QByteArray lines;
    for (const char *name : {"mpm_event", "authn_core", "authn_file", "authz_core", "authz_user",
                             "auth_basic", "proxy", "proxy_http", "proxy_connect"}) {
        lines += QByteArray("LoadModule ") + name + "_module /usr/lib/apache2/modules/mod_" + name +
                 ".so\n";
    }
    return lines;
}
} // namespace

ProxyProcess::ProxyProcess()
{
    // Started by root, it reads the passwords as another user.
    constexpr QFile::Permissions enterable =
        QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ExeGroup | QFile::ExeOther;
    QFile::setPermissions(m_folder.path(), enterable);
}

ProxyProcess::~ProxyProcess()
{
    Stop();
}

bool ProxyProcess::Start(const QString &password)
{
    // Another process may take the free port first; then the proxy ends, and the next one is tried.
    const bool isAgain = m_port != 0;
    for (int attempt = 0; attempt < 5; ++attempt) {
        m_port = isAgain ? m_port : gFreePort();
        if (!WriteConfiguration(password)) {
            return false;
        }
        // -X: one process, without children that would outlive it.
        m_process.start(QStringLiteral("/usr/sbin/apache2"),
                        {QStringLiteral("-d"), m_folder.path(), QStringLiteral("-f"),
                         Path("httpd.conf"), QStringLiteral("-X")});
        if (WaitUntilReady()) {
            return true;
        }
        Stop();
    }
    return false;
}

void ProxyProcess::Stop()
{
    m_process.kill();
    m_process.waitForFinished();
}

bool ProxyProcess::WriteConfiguration(const QString &password) const
{
    QByteArray text = gModules();
    text += "Listen 127.0.0.1:" + QByteArray::number(m_port) +
            "\n"
            "ServerName 127.0.0.1\n"
            "PidFile pid\n"
            "DefaultRuntimeDir .\n"
            "ErrorLog error.log\n"
            "LogFormat \"%r %>s\" request\n"
            "CustomLog requests.log request\n"
            "User nobody\n"
            "Group nogroup\n"
            "ProxyRequests On\n"
            "AllowCONNECT 1-65535\n";
    if (!password.isEmpty()) {
        text += "<Proxy \"*\">\n"
                "AuthType Basic\n"
                "AuthName proxy\n"
                "AuthBasicProvider file\n"
                "AuthUserFile users\n"
                "Require valid-user\n"
                "</Proxy>\n";
    }
    const QByteArray hash = QCryptographicHash::hash(password.toUtf8(), QCryptographicHash::Sha1);
    return gWriteFile(Path("httpd.conf"), text) &&
           gWriteFile(Path("users"), user + QByteArray(":{SHA}") + hash.toBase64() + '\n');
}

bool ProxyProcess::WaitUntilReady()
{
    QDeadlineTimer limit(5000);
    while (!limit.hasExpired() && !m_process.waitForFinished(20)) {
        QTcpSocket socket;
        socket.setProxy(QNetworkProxy::NoProxy);
        socket.connectToHost(QHostAddress(QHostAddress::LocalHost), m_port);
        if (socket.waitForConnected(1000)) {
            return true;
        }
    }
    return false;
}

QNetworkProxy ProxyProcess::Proxy(const QString &password) const
{
    return {QNetworkProxy::HttpProxy, QStringLiteral("127.0.0.1"), m_port,
            password.isEmpty() ? QString() : QString::fromLatin1(user), password};
}

QStringList ProxyProcess::Requests() const
{
    return QString::fromUtf8(gReadFile(Path("requests.log")))
        .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

QString ProxyProcess::Outside(QString address)
{
    return address.replace(QLatin1String("127.0.0.1"), QLatin1String("0.0.0.0"));
}
