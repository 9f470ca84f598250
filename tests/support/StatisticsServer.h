// SPDX-License-Identifier: MIT

#pragma once

#include "tests/support/HttpServer.h"
#include "tests/support/TestCertificates.h"

#include <QJsonObject>
#include <QList>

/// A statistics endpoint: an encrypted server and the records that it received.
///
/// Thread: any, as `HttpServer`. Errors: a request without a record reads as an empty object.
class StatisticsServer
{
public:
    /// The server shows the certificate of @p certificates, and answers 200.
    explicit StatisticsServer(const TestCertificates &certificates);

    /// Sets the answer to every record from now on.
    void Answer(const HttpAnswer &answer) { m_server.Serve("/tallow/visit/", answer); }

    HttpServer &Server() { return m_server; }
    QString Host() const { return m_server.Host(); }

    /// The event codes of all requests so far, in order; every attempt counts.
    QList<int> Results() const;
    /// The record of the request at @p index.
    QJsonObject Record(int index) const;

private:
    HttpServer m_server;
};
