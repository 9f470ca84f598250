#pragma once

#include <QSslCertificate>
#include <QSslKey>
#include <QTcpServer>

/// Accepts encrypted connections for an `HttpServer`.
///
/// Thread: the server's. Ownership: the server's.
class TlsListener : public QTcpServer
{
    Q_OBJECT

public:
    TlsListener(const QSslCertificate &certificate, const QSslKey &key);

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    QSslCertificate m_certificate;
    QSslKey m_key;
};
