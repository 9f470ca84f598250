// SPDX-License-Identifier: MIT

#include "demo/serve/EventLog.h"

#include <httplib.h>

#include <QDateTime>
#include <QJsonDocument>
#include <QJsonObject>
#include <QUrl>

#include <iostream>
#include <mutex>

namespace
{
/// The value of "data", decoded here because the library decodes a plus as a blank.
QByteArray gRecordIn(const httplib::Request &request)
{
    const QByteArray target = QByteArray::fromStdString(request.target);
    const int start = target.indexOf("data=");
    if (start < 0) {
        return {};
    }
    const int first = start + int(sizeof("data=")) - 1;
    const int end = target.indexOf('&', first);
    return QByteArray::fromPercentEncoding(target.mid(first, end < 0 ? -1 : end - first));
}
} // namespace

void gLogEvent(const httplib::Request &request)
{
    static std::mutex output;

    const QByteArray record = gRecordIn(request);
    const QJsonDocument document = QJsonDocument::fromJson(record);
    const QJsonObject line{
        {QStringLiteral("data"), document.isObject() ? QJsonValue(document.object())
                                                     : QJsonValue(QString::fromUtf8(record))},
        {QStringLiteral("time"), QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs)},
        {QStringLiteral("userAgent"),
         QString::fromStdString(request.get_header_value("User-Agent"))},
    };
    const QByteArray text = QJsonDocument(line).toJson(QJsonDocument::Compact);
    const std::lock_guard<std::mutex> lock(output);
    std::cout << text.constData() << std::endl;
}
