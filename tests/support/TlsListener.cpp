// SPDX-License-Identifier: MIT

#include "tests/support/TlsListener.h"

#include <QDataStream>
#include <QSslSocket>

TlsListener::TlsListener(const QSslCertificate &certificate, const QSslKey &key)
    : m_certificate(certificate)
    , m_key(key)
{
}

quint16 TlsListener::Open()
{
    const int frontPort = qEnvironmentVariableIntValue(frontVariable);
    m_behindFront = frontPort > 0;
    return m_behindFront ? OpenBehind(static_cast<quint16>(frontPort)) : Listener::Open();
}

quint16 TlsListener::OpenBehind(quint16 frontPort)
{
    const quint16 plainPort = Listener::Open();
    // The program in front accepts as long as this connection lasts.
    auto *front = new QTcpSocket(this);
    front->connectToHost(QHostAddress::LocalHost, frontPort);
    if (plainPort == 0 || !front->waitForConnected()) {
        return 0;
    }
    QDataStream stream(front);
    stream << plainPort << m_certificate.toPem() << m_key.toPem();
    quint16 port = 0;
    do {
        stream.startTransaction();
        stream >> port;
    } while (!stream.commitTransaction() && front->waitForReadyRead());
    return port;
}

void TlsListener::incomingConnection(qintptr descriptor)
{
    if (m_behindFront) {
        Listener::incomingConnection(descriptor);
        return;
    }
    auto *socket = new QSslSocket(this);
    socket->setSocketDescriptor(descriptor);
    socket->setLocalCertificate(m_certificate);
    socket->setPrivateKey(m_key);
    socket->startServerEncryption();
    addPendingConnection(socket);
}
