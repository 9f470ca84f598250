// SPDX-License-Identifier: MIT

#pragma once

#include "tests/support/Listener.h"

#include <QSslCertificate>
#include <QSslKey>

/// Accepts encrypted connections for an `HttpServer`.
///
/// Where the system has no encryption for servers, which is so under Wine, another program stands
/// in front of it: the environment variable QUILLON_TLS_FRONT_PORT names its port then, and the
/// connections come from there, see tls-front/main.cpp.
///
/// Errors: a program in front that is not there lets no server start.
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
