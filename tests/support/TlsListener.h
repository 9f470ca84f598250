// SPDX-License-Identifier: MIT

#pragma once

#include "tests/support/Listener.h"

#include <QSslCertificate>
#include <QSslKey>

/// Accepts encrypted connections for an `HttpServer`.
///
/// Wine has no encryption for servers. There another program encrypts and passes the connections
/// on, see tls-front/main.cpp; the environment variable QUILLON_TLS_FRONT_PORT names its port.
///
/// Errors: without a program at that port no server starts.
class TlsListener : public Listener
{
    Q_OBJECT

public:
    TlsListener(const QSslCertificate &certificate, const QSslKey &key);

    QString Scheme() const override { return QStringLiteral("https"); }
    quint16 Open() override;

    static constexpr char frontVariable[] = "QUILLON_TLS_FRONT_PORT";

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    quint16 OpenBehind(quint16 frontPort);

    QSslCertificate m_certificate;
    QSslKey m_key;
    bool m_behindFront = false;
};
