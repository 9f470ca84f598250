// SPDX-License-Identifier: MIT

#include "tests/support/HttpServer.h"

#include "tests/support/HttpConnection.h"
#include "tests/support/TestCertificates.h"
#include "tests/support/TlsListener.h"

#include <QMutexLocker>
#include <QTcpSocket>

HttpServer::HttpServer()
    : HttpServer(std::make_unique<Listener>())
{
}

HttpServer::HttpServer(const TestCertificates &certificates)
    : HttpServer(std::make_unique<TlsListener>(certificates.Server(), certificates.ServerKey()))
{
}

HttpServer::HttpServer(std::unique_ptr<Listener> listener)
    : m_listener(listener.release())
    , m_scheme(m_listener->Scheme())
{
    m_listener->moveToThread(&m_thread);
    QObject::connect(&m_thread, &QThread::finished, m_listener, &QObject::deleteLater);
    QObject::connect(m_listener, &QTcpServer::newConnection, m_listener, [this] { Accept(); });
    m_thread.start();
    QMetaObject::invokeMethod(
        m_listener,
        [this] {
            m_port = m_listener->Open();
            if (m_port == 0) {
                qFatal("The test server found no free port.");
            }
        },
        Qt::BlockingQueuedConnection);
}

HttpServer::~HttpServer()
{
    m_thread.quit();
    m_thread.wait();
}

QString HttpServer::Host() const
{
    return QStringLiteral("127.0.0.1:%1").arg(m_port.load());
}

QString HttpServer::Address(const QString &path) const
{
    return m_scheme + QStringLiteral("://") + Host() + path;
}

void HttpServer::Serve(const QByteArray &path, const HttpAnswer &answer, const QByteArray &method)
{
    const QMutexLocker lock(&m_mutex);
    m_answers.insert(method + path, answer.AsFaultAnswer());
}

void HttpServer::Play(const FaultScript &script)
{
    const QMutexLocker lock(&m_mutex);
    m_script = script;
}

QList<HttpRequest> HttpServer::Requests(const QByteArray &method) const
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

void HttpServer::ForgetRequests()
{
    const QMutexLocker lock(&m_mutex);
    m_requests.clear();
}

void HttpServer::StopListening()
{
    QMetaObject::invokeMethod(
        m_listener, [this] { m_listener->close(); }, Qt::BlockingQueuedConnection);
}

void HttpServer::ListenAgain()
{
    QMetaObject::invokeMethod(
        m_listener,
        [this] {
            if (!m_listener->listen(QHostAddress::LocalHost, m_port)) {
                qFatal("The test server has lost its port.");
            }
        },
        Qt::BlockingQueuedConnection);
}

QList<FaultStep> HttpServer::Receive(const HttpRequest &request)
{
    const QMutexLocker lock(&m_mutex);
    m_requests.append(request);
    auto answer = m_script.Next(request);
    if (!answer.has_value()) {
        const QByteArray path = request.Path();
        const FaultAnswer ofAll = m_answers.value(path, FaultAnswer::Status(404));
        answer = m_answers.value(request.method + path, ofAll);
    }
    return answer->StepsFor(request);
}

void HttpServer::Accept()
{
    while (QTcpSocket *socket = m_listener->nextPendingConnection()) {
        ++m_openConnections;
        ++m_connections;
        QObject::connect(socket, &QTcpSocket::disconnected, m_listener, [this, socket] {
            --m_openConnections;
            socket->deleteLater();
        });
        new HttpConnection(socket, *this);
    }
}
