// SPDX-License-Identifier: MIT

#include "update/report/EventRecord.h"

#include <QJsonDocument>
#include <QJsonObject>

QByteArray gEventRecordJson(const EventRecord &record)
{
    const QJsonObject label{
        {QStringLiteral("pid"), record.pid},
        {QStringLiteral("oldver"), record.oldVersion},
        {QStringLiteral("newver"), record.newVersion},
        {QStringLiteral("result"), record.result},
        {QStringLiteral("type"), record.packageType},
    };
    const QJsonObject outer{
        {QStringLiteral("ostime"), qint64{record.time}},
        {QStringLiteral("tid"), QStringLiteral("tid-upgrade-001")},
        {QStringLiteral("uid"), record.uid},
        {QStringLiteral("pagepath"), QStringLiteral("")},
        {QStringLiteral("category"), QStringLiteral("upgrade")},
        {QStringLiteral("act"), QStringLiteral("result")},
        {QStringLiteral("dvalue"), 0},
        // The version of this protocol, not of the product.
        {QStringLiteral("modver"), QStringLiteral("4.0.0")},
        {QStringLiteral("label"), label},
    };
    return QJsonDocument(outer).toJson(QJsonDocument::Indented).replace(' ', "").replace('\n', "");
}

QUrl gEventRecordUrl(const QString &host, const QByteArray &json)
{
    return QUrl(QStringLiteral("https://") + host + QStringLiteral("/tallow/visit/?data=") +
                    QString::fromUtf8(json),
                QUrl::TolerantMode);
}
