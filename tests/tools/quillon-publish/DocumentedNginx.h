// SPDX-License-Identifier: MIT

#pragma once

#include "tests/support/NginxProcess.h"

#include <QByteArray>
#include <QList>
#include <QSslCertificate>
#include <QString>
#include <QTemporaryDir>

/// nginx with docs/nginx-updates.conf. Only the ports, the paths and the certificate are replaced
/// by those of the test.
class DocumentedNginx
{
public:
    /// @return whether it serves @p site over http and https
    bool Start(const QString &site);

    /// "http://127.0.0.1:PORT"
    QString PlainUrl() const;
    /// "https://127.0.0.1:PORT"
    QString SecureUrl() const;
    QSslCertificate Certificate() const;

    QByteArray Log(const QString &name) const;

private:
    bool MakeCertificate() const;
    bool WriteConfiguration(const QString &site, const QList<int> &ports) const;

    QTemporaryDir m_folder;
    NginxProcess m_nginx;
};
