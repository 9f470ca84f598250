// SPDX-License-Identifier: MIT

#include "tests/support/StatisticsServer.h"

#include <QJsonDocument>

namespace
{
QJsonObject gRecord(const HttpRequest &request)
{
    const QByteArray data = request.target.mid(request.target.indexOf("?data=") + 6);
    return QJsonDocument::fromJson(QByteArray::fromPercentEncoding(data)).object();
}
} // namespace

StatisticsServer::StatisticsServer(const TestCertificates &certificates)
    : m_server(certificates)
{
    Answer(HttpAnswer::Status(200));
}

QList<int> StatisticsServer::Results() const
{
    QList<int> results;
    const QList<HttpRequest> requests = m_server.Requests();
    for (const HttpRequest &request : requests) {
        results.append(
            gRecord(request).value(QLatin1String("label"))[QLatin1String("result")].toInt());
    }
    return results;
}

QJsonObject StatisticsServer::Record(int index) const
{
    return gRecord(m_server.Requests().value(index));
}
