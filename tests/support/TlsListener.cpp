#include "tests/support/TlsListener.h"

#include <QSslSocket>

TlsListener::TlsListener(const QSslCertificate &certificate, const QSslKey &key)
    : m_certificate(certificate)
    , m_key(key)
{
}

void TlsListener::incomingConnection(qintptr descriptor)
{
    auto *socket = new QSslSocket(this);
    socket->setSocketDescriptor(descriptor);
    socket->setLocalCertificate(m_certificate);
    socket->setPrivateKey(m_key);
    socket->startServerEncryption();
    addPendingConnection(socket);
}
