// SPDX-License-Identifier: MIT

#include "tests/e2e/Nginx.h"

#include <QFile>

bool Nginx::Start(const QString &site, int bytesPerSecond)
{
    const auto write = [&](const QList<int> &ports) {
        return WriteConfiguration(site, bytesPerSecond, ports.first());
    };
    const bool started = m_nginx.Start(m_folder.path(), 1, write);
    m_baseUrl = QStringLiteral("http://127.0.0.1:%1").arg(m_nginx.Ports().first());
    return started;
}

bool Nginx::WriteConfiguration(const QString &site, int bytesPerSecond, int port)
{
    QFile file(m_folder.filePath(QStringLiteral("nginx.conf")));
    const QString configuration = QStringLiteral(R"(daemon off;
master_process off;
pid nginx.pid;
events {}
http {
    log_format requests "$request_method $uri $http_range $status";
    access_log access.log requests;
    client_body_temp_path body;
    proxy_temp_path proxy;
    fastcgi_temp_path fastcgi;
    uwsgi_temp_path uwsgi;
    scgi_temp_path scgi;
    default_type application/octet-stream;
    absolute_redirect off;
    server {
        listen 127.0.0.1:%1;
        root %2;
        location = /update {
            default_type application/xml;
            try_files /manifests/$arg_version.xml /manifest.xml =404;
        }
        location /packages/ {
            limit_rate %3;
        }
        location ~ ^/redirect(?<rest>/.*)$ {
            return 302 $rest;
        }
    }
}
)")
                                      .arg(port)
                                      .arg(site)
                                      .arg(bytesPerSecond);
    return file.open(QIODevice::WriteOnly) && file.write(configuration.toUtf8()) > 0;
}

QStringList Nginx::Requests()
{
    QFile log(m_folder.filePath(QStringLiteral("access.log")));
    if (!log.open(QIODevice::ReadOnly)) {
        return {};
    }
    return QString::fromUtf8(log.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}
