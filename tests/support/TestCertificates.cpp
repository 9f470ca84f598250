// SPDX-License-Identifier: MIT

#include "tests/support/TestCertificates.h"

#include "tests/support/AuthorityTrust.h"
#include "tests/support/TestFiles.h"

#include <QFile>

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
    return QSslCertificate(gReadFile(Path("server.pem")));
}

QSslKey TestCertificates::ServerKey() const
{
    return {gReadFile(Path("server.key")), QSsl::Rsa};
}

void TestCertificates::TrustAuthority() const
{
    gTrustAuthority(QSslCertificate(gReadFile(Path("ca.pem"))));
}
