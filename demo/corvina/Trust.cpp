// SPDX-License-Identifier: MIT

#include "demo/corvina/Trust.h"

#include <QSslCertificate>
#include <QSslConfiguration>
#include <QString>

bool gTrustAuthorities(const QString &path)
{
    const QList<QSslCertificate> authorities = QSslCertificate::fromPath(path);
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.addCaCertificates(authorities);
    QSslConfiguration::setDefaultConfiguration(configuration);
    return !authorities.isEmpty();
}
