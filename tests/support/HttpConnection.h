// SPDX-License-Identifier: MIT

#pragma once

#include "tests/support/FaultStep.h"

#include <QByteArray>
#include <QList>
#include <QObject>

class HttpServer;
class QTcpSocket;

/// One connection of the test server: reads requests one after the other and plays the steps of
/// their answers.
///
///     readyRead ─► ReadRequest ─► Play ─┬─► SendPiece ─► (a pause, or room to write) ─► Play
///         ▲                             ├─► a pause ─► Play
///         └────── the answer has ended ─┴─► close, reset, or silence until the client ends
///
/// Thread: the server's. Ownership: its socket.
class HttpConnection : public QObject
{
    Q_OBJECT

public:
    HttpConnection(QTcpSocket *socket, HttpServer &server);

private:
    void ReadRequest();
    /// Does the next step of the answer.
    void Play();
    void SendPiece();
    void Spoil();
    void PlayAfter(int ms);

    QTcpSocket *m_socket;
    HttpServer &m_server;
    QByteArray m_input;
    QList<FaultStep> m_steps;
    /// Bytes of the first step that are sent.
    int m_sent = 0;
    bool m_busy = false;
    bool m_waitsForRoom = false;
};
