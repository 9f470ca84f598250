// SPDX-License-Identifier: MIT

#include "tests/tools/quillon-publish/DocumentedNginx.h"

#include "tests/support/TestFiles.h"

#include <QFile>
#include <QProcess>

namespace
{
/// False unless @p from was there: the configuration would be another one than documented.
bool gReplaceText(QByteArray &text, const char *from, const QString &to)
{
    const bool found = text.contains(from);
    text.replace(from, to.toUtf8());
    return found;
}
} // namespace

bool DocumentedNginx::Start(const QString &site)
{
    // nginx may run its workers as another user.
    QFile::setPermissions(m_folder.path(),
                          QFile::permissions(m_folder.path()) | QFileDevice::ExeOther);
    return MakeCertificate() && m_nginx.Start(m_folder.path(), 2, [&](const QList<int> &ports) {
        return WriteConfiguration(site, ports);
    });
}

QString DocumentedNginx::PlainUrl() const
{
    return QStringLiteral("http://127.0.0.1:%1").arg(m_nginx.Ports().value(0));
}

QString DocumentedNginx::SecureUrl() const
{
    return QStringLiteral("https://127.0.0.1:%1").arg(m_nginx.Ports().value(1));
}

QSslCertificate DocumentedNginx::Certificate() const
{
    return QSslCertificate(gReadFile(m_folder.filePath(QStringLiteral("fullchain.pem"))));
}

QByteArray DocumentedNginx::Log(const QString &name) const
{
    return gReadFile(m_folder.filePath(name));
}

bool DocumentedNginx::MakeCertificate() const
{
    QProcess openssl;
    openssl.setWorkingDirectory(m_folder.path());
    openssl.start(
        QStringLiteral("openssl"),
        QStringLiteral("req -x509 -newkey rsa:2048 -nodes -days 2 -subj /CN=127.0.0.1 "
                       "-addext subjectAltName=IP:127.0.0.1 -keyout key.pem -out fullchain.pem")
            .split(QLatin1Char(' ')));
    return openssl.waitForFinished() && openssl.exitCode() == 0;
}

bool DocumentedNginx::WriteConfiguration(const QString &site, const QList<int> &ports) const
{
    QByteArray documented = gReadFile(QStringLiteral(NGINX_UPDATES));
    const QString here = m_folder.path() + QLatin1Char('/');
    const bool replaced =
        gReplaceText(documented, "listen 80;",
                     QStringLiteral("listen 127.0.0.1:%1;").arg(ports.value(0))) &&
        gReplaceText(documented, "listen 443 ssl;",
                     QStringLiteral("listen 127.0.0.1:%1 ssl;").arg(ports.value(1))) &&
        gReplaceText(documented, "/etc/ssl/updates/", here) &&
        gReplaceText(documented, "/var/log/nginx/", here) &&
        gReplaceText(documented, "/srv/updates", site);
    const QByteArray main = "daemon off;\n"
                            "master_process off;\n"
                            "pid nginx.pid;\n"
                            "events {}\n"
                            "http {\n"
                            "    client_body_temp_path body;\n"
                            "    proxy_temp_path proxy;\n"
                            "    fastcgi_temp_path fastcgi;\n"
                            "    uwsgi_temp_path uwsgi;\n"
                            "    scgi_temp_path scgi;\n"
                            "    gzip on;\n"
                            "    gzip_types *;\n"
                            "    include updates.conf;\n"
                            "}\n";
    return replaced && gWriteFile(here + QLatin1String("updates.conf"), documented) &&
           gWriteFile(here + QLatin1String("nginx.conf"), main);
}
