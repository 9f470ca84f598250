// SPDX-License-Identifier: MIT

#include "tests/support/FaultConnection.h"

#include "tests/support/FaultServer.h"
#include "tests/support/SocketReset.h"

#include <QTcpSocket>
#include <QTimer>

namespace
{
/// An endless body must not fill the memory of the test.
constexpr qint64 mostUnsentBytes = 262144;
} // namespace

FaultConnection::FaultConnection(QTcpSocket *socket, FaultServer &server)
    : QObject(socket)
    , m_socket(socket)
    , m_server(server)
{
    connect(m_socket, &QTcpSocket::readyRead, this, [this] {
        m_input += m_socket->readAll();
        ReadRequest();
    });
    connect(m_socket, &QTcpSocket::bytesWritten, this, [this] {
        if (m_waitsForRoom && m_socket->bytesToWrite() < mostUnsentBytes) {
            m_waitsForRoom = false;
            Play();
        }
    });
}

void FaultConnection::ReadRequest()
{
    if (m_busy) {
        return;
    }
    const auto request = HttpRequest::TakeFrom(m_input);
    if (!request.has_value()) {
        return;
    }
    m_busy = true;
    m_steps = m_server.Receive(*request).StepsFor(*request);
    Play();
}

void FaultConnection::Play()
{
    if (m_socket->state() != QAbstractSocket::ConnectedState) {
        return;
    }
    if (m_steps.isEmpty()) {
        m_busy = false;
        ReadRequest();
        return;
    }
    FaultStep &step = m_steps.first();
    switch (step.kind) {
    case FaultStep::Kind::Send:
        SendPiece(step);
        return;
    case FaultStep::Kind::Pause:
        PlayAfter(m_steps.takeFirst().pauseMs);
        return;
    case FaultStep::Kind::Hold:
        return;
    case FaultStep::Kind::Close:
        m_socket->disconnectFromHost();
        return;
    case FaultStep::Kind::Reset:
        gResetConnection(*m_socket);
        return;
    }
}

void FaultConnection::SendPiece(FaultStep &step)
{
    const int pauseMs = step.pauseMs;
    const QByteArray piece =
        step.bytes.mid(m_sent, step.pieceSize > 0 ? step.pieceSize : step.bytes.size());
    m_socket->write(piece);
    m_sent += piece.size();
    if (m_sent >= step.bytes.size()) {
        m_sent = 0;
        if (!step.forEver) {
            m_steps.removeFirst();
        }
    }
    m_waitsForRoom = m_socket->bytesToWrite() >= mostUnsentBytes;
    if (!m_waitsForRoom) {
        PlayAfter(pauseMs);
    }
}

void FaultConnection::PlayAfter(int ms)
{
    QTimer::singleShot(ms, this, [this] { Play(); });
}
