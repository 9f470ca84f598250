// SPDX-License-Identifier: MIT

#pragma once

#include <QTcpServer>

/// Accepts the connections of an `HttpServer`.
///
/// Thread: the server's, except for the constructor. Ownership: the server's.
class Listener : public QTcpServer
{
public:
    /// The scheme of the server's addresses.
    virtual QString Scheme() const { return QStringLiteral("http"); }

    /// Starts to accept at a free port of 127.0.0.1. Gives the port that clients connect to, 0 when
    /// that failed.
    virtual quint16 Open() { return listen(QHostAddress::LocalHost) ? serverPort() : quint16(0); }
};
