// SPDX-License-Identifier: MIT

#include "tests/support/FaultServer.h"

#include "tests/support/FaultConnection.h"
#include "tests/support/TestCertificates.h"
#include "tests/support/TlsListener.h"

#include <QMutexLocker>
#include <QTcpServer>
#include <QTcpSocket>

FaultServer::FaultServer()
    : FaultServer(std::make_unique<QTcpServer>(), QStringLiteral("http"))
{
}

FaultServer::FaultServer(const TestCertificates &certificates)
    : FaultServer(std::make_unique<TlsListener>(certificates.Server(), certificates.ServerKey()),
                  QStringLiteral("https"))
{
}

FaultServer::FaultServer(std::unique_ptr<QTcpServer> listener, const QString &scheme)
    : m_listener(listener.release())
    , m_scheme(scheme)
{
    m_listener->moveToThread(&m_thread);
    QObject::connect(&m_thread, &QThread::finished, m_listener, &QObject::deleteLater);
    QObject::connect(m_listener, &QTcpServer::newConnection, m_listener, [this] { Accept(); });
    m_thread.start();
    QMetaObject::invokeMethod(
        m_listener,
        [this] {
            if (!m_listener->listen(QHostAddress::LocalHost)) {
                qFatal("The fault server found no free port.");
            }
            m_port = m_listener->serverPort();
        },
        Qt::BlockingQueuedConnection);
}

FaultServer::~FaultServer()
{
    m_thread.quit();
    m_thread.wait();
}

QString FaultServer::Host() const
{
    return QStringLiteral("127.0.0.1:%1").arg(m_port.load());
}

QString FaultServer::Address(const QString &path) const
{
    return m_scheme + QStringLiteral("://") + Host() + path;
}

void FaultServer::Play(const FaultScript &script)
{
    const QMutexLocker lock(&m_mutex);
    m_script = script;
}

QList<HttpRequest> FaultServer::Requests(const QByteArray &method) const
{
    const QMutexLocker lock(&m_mutex);
    QList<HttpRequest> requests;
    for (const HttpRequest &request : m_requests) {
        if (method.isEmpty() || request.method == method) {
            requests.append(request);
        }
    }
    return requests;
}

void FaultServer::ForgetRequests()
{
    const QMutexLocker lock(&m_mutex);
    m_requests.clear();
}

FaultAnswer FaultServer::Receive(const HttpRequest &request)
{
    const QMutexLocker lock(&m_mutex);
    m_requests.append(request);
    return m_script.Next(request);
}

void FaultServer::Accept()
{
    while (QTcpSocket *socket = m_listener->nextPendingConnection()) {
        ++m_openConnections;
        QObject::connect(socket, &QTcpSocket::disconnected, m_listener, [this, socket] {
            --m_openConnections;
            socket->deleteLater();
        });
        new FaultConnection(socket, *this);
    }
}
