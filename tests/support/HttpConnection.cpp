// SPDX-License-Identifier: MIT

#include "tests/support/HttpConnection.h"

#include "tests/support/HttpServer.h"
#include "tests/support/SocketReset.h"

#include <QTcpSocket>
#include <QTimer>

namespace
{
/// An endless body must not fill the memory of the test.
constexpr qint64 mostUnsentBytes = 262144;
} // namespace

HttpConnection::HttpConnection(QTcpSocket *socket, HttpServer &server)
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

void HttpConnection::ReadRequest()
{
    if (m_busy) {
        return;
    }
    const auto request = HttpRequest::TakeFrom(m_input);
    if (!request.has_value()) {
        return;
    }
    m_busy = true;
    m_steps = m_server.Receive(*request);
    Play();
}

void HttpConnection::Play()
{
    if (m_socket->state() != QAbstractSocket::ConnectedState) {
        return;
    }
    if (m_steps.isEmpty()) {
        m_busy = false;
        ReadRequest();
        return;
    }
    switch (m_steps.first().kind) {
    case FaultStep::Kind::Send:
        SendPiece();
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
    case FaultStep::Kind::Spoil:
        Spoil();
        return;
    }
}

void HttpConnection::SendPiece()
{
    const FaultStep &step = m_steps.first();
    const int pauseMs = step.pauseMs;
    const QByteArray piece =
        step.bytes.mid(m_sent, step.pieceSize > 0 ? step.pieceSize : step.bytes.size());
    m_socket->write(piece);
    m_sent += piece.size();
    bool isStepDone = false;
    if (m_sent >= step.bytes.size()) {
        m_sent = 0;
        isStepDone = !step.forEver;
    }
    if (isStepDone) {
        m_steps.removeFirst();
    }
    m_waitsForRoom = m_socket->bytesToWrite() >= mostUnsentBytes;
    if (m_waitsForRoom) {
        return;
    }
    if (isStepDone) {
        // At once, so that a head and the start of its body arrive together.
        Play();
    } else {
        PlayAfter(pauseMs);
    }
}

void HttpConnection::Spoil()
{
    m_socket->flush();
    // An encrypted socket sends through a plain one, which is its child.
    if (auto *const plain = m_socket->findChild<QTcpSocket *>()) {
        plain->write("not a record of TLS");
    }
}

void HttpConnection::PlayAfter(int ms)
{
    QTimer::singleShot(ms, this, [this] { Play(); });
}
