// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>

/// The content of one statistics record: the machine, the update, and its result.
struct EventRecord {
    QString pid;
    QString oldVersion;
    QString newVersion;
    /// "full" or "ins".
    QString packageType;
    /// The client sign.
    QString uid;
    /// An event code, see `UpdateEventReport::EventType`.
    int result = 0;
    /// Seconds since 1970-01-01 00:00 UTC.
    quint32 time = 0;
};

/// The record as compact JSON, keys in ascending order. Every blank and line feed is gone, those
/// inside of values included: "1.2 beta" is sent as "1.2beta". The endpoint compares
/// such texts, so this must not change.
QByteArray gEventRecordJson(const EventRecord &record);

/// Where the record is sent: @p host (with its port, if any) over https.
QUrl gEventRecordUrl(const QString &host, const QByteArray &json);
