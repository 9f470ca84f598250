#pragma once

#include <QSslCertificate>
#include <QSslKey>
#include <QString>
#include <QTemporaryDir>

/// A certificate authority of its own and a certificate that it issued for 127.0.0.1, both made by
/// the program "openssl" when the object is created.
///
/// Thread: any. Errors: without the program the whole test ends.
class TestCertificates
{
public:
    TestCertificates();

    QSslCertificate Server() const;
    QSslKey ServerKey() const;

    /// The same as PEM files, for programs; they live as long as the object.
    QString ServerFile() const { return Path("server.pem"); }
    QString ServerKeyFile() const { return Path("server.key"); }

    /// From now on every encrypted connection of this process trusts the authority.
    void TrustAuthority() const;

private:
    QString Path(const char *name) const { return m_folder.filePath(QLatin1String(name)); }
    void Run(const QStringList &arguments) const;

    QTemporaryDir m_folder;
};
