#include "tests/support/TestCertificates.h"

#include <QFile>
#include <QProcess>
#include <QSslConfiguration>

namespace
{
QByteArray gRead(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QStringList gArguments(const char *line)
{
    return QString::fromLatin1(line).split(QLatin1Char(' '));
}
} // namespace

TestCertificates::TestCertificates()
{
    QFile config(Path("openssl.cnf"));
    if (!config.open(QIODevice::WriteOnly))
        qFatal("No folder for the test certificates.");
    config.write("[req]\ndistinguished_name=name\n[name]\n"
                 "[authority]\nbasicConstraints=critical,CA:TRUE\n"
                 "subjectKeyIdentifier=hash\n"
                 "[server]\nbasicConstraints=critical,CA:FALSE\n"
                 "subjectAltName=IP:127.0.0.1\n");
    config.close();
    Run(gArguments("-extensions authority -subj /CN=Authority -keyout ca.key -out ca.pem"));
    Run(gArguments("-extensions server -subj /CN=Server -keyout server.key -out server.pem "
                   "-CA ca.pem -CAkey ca.key"));
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
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.addCaCertificate(QSslCertificate(gRead(Path("ca.pem"))));
    QSslConfiguration::setDefaultConfiguration(configuration);
}

void TestCertificates::Run(const QStringList &arguments) const
{
    QProcess openssl;
    openssl.setWorkingDirectory(m_folder.path());
    openssl.start(QStringLiteral("openssl"),
                  gArguments("req -x509 -config openssl.cnf -newkey rsa:2048 -nodes -days 2") +
                      arguments);
    if (!openssl.waitForFinished() || openssl.exitCode() != 0)
        qFatal("The program openssl made no certificate: %s",
               openssl.readAllStandardError().constData());
}
