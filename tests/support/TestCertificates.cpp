// SPDX-License-Identifier: MIT

#include "tests/support/TestCertificates.h"

#include "tests/support/AuthorityTrust.h"

#include <QFile>

namespace
{
QByteArray gRead(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

TestCertificates::TestCertificates()
{
    static int made = 0;
    m_folder = QStringLiteral(TEST_CERTIFICATES "/%1/").arg(made++ % 8 + 1);
    if (!QFile::exists(ServerFile())) {
        qFatal("There are no more test certificates.");
    }
}

QSslCertificate TestCertificates::Server() const
{
    return QSslCertificate(gRead(Path("server.pem")));
}

QSslKey TestCertificates::ServerKey() const
{
    return {gRead(Path("server.key")), QSsl::Rsa};
}

void TestCertificates::TrustAuthority() const
{
    gTrustAuthority(QSslCertificate(gRead(Path("ca.pem"))));
}
