// SPDX-License-Identifier: MIT

#pragma once

#include <QSslCertificate>
#include <QSslKey>
#include <QString>

/// A certificate authority and a certificate that it issued for 127.0.0.1. They are made when the
/// tests are built; each object of a process has another pair.
///
/// Thread: GUI thread. Errors: a process that asks for more pairs than were made ends.
class TestCertificates
{
public:
    TestCertificates();

    QSslCertificate Server() const;
    QSslKey ServerKey() const;

    /// The same as PEM files, for programs.
    QString AuthorityFile() const { return Path("ca.pem"); }
    QString ServerFile() const { return Path("server.pem"); }
    QString ServerKeyFile() const { return Path("server.key"); }

    /// From now on every encrypted connection of this process trusts the authority. Once for a process, before its
    /// first connection.
    void TrustAuthority() const;

private:
    QString Path(const char *name) const { return m_folder + QLatin1String(name); }

    QString m_folder;
};
