// SPDX-License-Identifier: MIT

#pragma once

#include "tests/support/FaultStep.h"

#include <QByteArray>
#include <QList>
#include <QObject>

class FaultServer;
class QTcpSocket;

/// One connection of the fault server: reads requests one after the other and plays their answers.
///
///     readyRead ─► ReadRequest ─► Play ─┬─► SendPiece ─► (a pause, or room to write) ─► Play
///         ▲                             ├─► a pause ─► Play
///         └────── the answer has ended ─┴─► close, reset, or silence for good
///
/// Thread: the server's. Ownership: its socket.
class FaultConnection : public QObject
{
    Q_OBJECT

public:
    FaultConnection(QTcpSocket *socket, FaultServer &server);

private:
    void ReadRequest();
    /// Does the next thing of the answer.
    void Play();
    void SendPiece(FaultStep &step);
    void PlayAfter(int ms);

    QTcpSocket *m_socket;
    FaultServer &m_server;
    QByteArray m_input;
    QList<FaultStep> m_steps;
    /// Bytes of the present step that are sent.
    int m_sent = 0;
    bool m_busy = false;
    bool m_waitsForRoom = false;
};
