// SPDX-License-Identifier: MIT

#include "tests/support/AuthorityTrust.h"

#include <QSslConfiguration>

void gTrustAuthority(const QSslCertificate &authority)
{
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.addCaCertificate(authority);
    QSslConfiguration::setDefaultConfiguration(configuration);
}
