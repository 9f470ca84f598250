// SPDX-License-Identifier: MIT

#pragma once

#include "tests/support/HttpAnswer.h"
#include "tests/support/HttpRequest.h"

#include <QByteArray>
#include <QObject>

class HttpServer;
class QTcpSocket;

/// One connection of the test server: reads requests one after the other and sends their answers.
///
/// Thread: the server's. Ownership: its socket.
class HttpConnection : public QObject
{
    Q_OBJECT

public:
    HttpConnection(QTcpSocket *socket, HttpServer &server);

private:
    void ReadRequest();
    void StartAnswer(const HttpRequest &request);
    QByteArray Head(int status, qint64 length, const QByteArray &contentRange) const;
    void SendBody();
    void EndAnswer();

    QTcpSocket *m_socket;
    HttpServer &m_server;
    QByteArray m_input;
    HttpAnswer m_answer;
    QByteArray m_unsent;
    bool m_busy = false;
};
