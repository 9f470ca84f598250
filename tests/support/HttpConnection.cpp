// SPDX-License-Identifier: MIT

#include "tests/support/HttpConnection.h"

#include "tests/support/HttpServer.h"
#include "tests/support/SocketReset.h"

#include <QTcpSocket>
#include <QTimer>

HttpConnection::HttpConnection(QTcpSocket *socket, HttpServer &server)
    : QObject(socket)
    , m_socket(socket)
    , m_server(server)
{
    connect(m_socket, &QTcpSocket::readyRead, this, [this] {
        m_input += m_socket->readAll();
        ReadRequest();
    });
}

void HttpConnection::ReadRequest()
{
    if (m_busy) {
        return;
    }
    const auto received = HttpRequest::TakeFrom(m_input);
    if (!received.has_value()) {
        return;
    }
    const HttpRequest &request = *received;
    m_busy = true;
    m_answer = m_server.Receive(request);
    if (m_answer.fault == HttpAnswer::Fault::Silence) {
        return;
    }
    if (m_answer.fault == HttpAnswer::Fault::CloseAtOnce) {
        m_socket->disconnectFromHost();
        return;
    }
    if (m_answer.fault == HttpAnswer::Fault::ResetAtOnce) {
        gResetConnection(*m_socket);
        return;
    }
    QTimer::singleShot(m_answer.delayMs, this, [this, request] { StartAnswer(request); });
}

void HttpConnection::StartAnswer(const HttpRequest &request)
{
    int status = m_answer.status;
    QByteArray contentRange;
    m_unsent = m_answer.body;
    const QByteArray range = request.headers.value("range");
    if (m_answer.ranges && status == 200 && range.startsWith("bytes=")) {
        const qint64 size = m_answer.body.size();
        const QList<QByteArray> ends = range.mid(6).split('-');
        const qint64 first = ends.value(0).toLongLong();
        const QByteArray lastText = ends.value(1);
        const qint64 last = lastText.isEmpty() ? size - 1 : qMin(lastText.toLongLong(), size - 1);
        const bool satisfiable = first <= last;
        status = satisfiable ? 206 : 416;
        contentRange = satisfiable ? "bytes " + QByteArray::number(first) + '-' +
                                         QByteArray::number(last) + '/' + QByteArray::number(size)
                                   : "bytes */" + QByteArray::number(size);
        m_unsent = m_unsent.mid(static_cast<int>(first), static_cast<int>(last - first + 1));
        if (!satisfiable) {
            m_unsent.clear();
        }
    }
    m_socket->write(Head(status, m_unsent.size(), contentRange));
    if (request.method == "HEAD") {
        m_unsent.clear();
    }
    switch (m_answer.fault) {
    case HttpAnswer::Fault::CloseAfter:
    case HttpAnswer::Fault::ResetAfter:
    case HttpAnswer::Fault::StallAfter:
        m_unsent.truncate(static_cast<int>(m_answer.faultAfter));
        break;
    case HttpAnswer::Fault::None:
    case HttpAnswer::Fault::Silence:
    case HttpAnswer::Fault::CloseAtOnce:
    case HttpAnswer::Fault::ResetAtOnce:
        break;
    }
    SendBody();
}

QByteArray HttpConnection::Head(int status, qint64 length, const QByteArray &contentRange) const
{
    QByteArray head = "HTTP/1.1 " + QByteArray::number(status) + " Scripted\r\n";
    if (!m_answer.contentType.isEmpty()) {
        head += "Content-Type: " + m_answer.contentType + "\r\n";
    }
    if (!contentRange.isEmpty()) {
        head += "Content-Range: " + contentRange + "\r\n";
    }
    for (const auto &header : m_answer.headers) {
        head += header.first + ": " + header.second + "\r\n";
    }
    if (!m_answer.announceLength) {
        return head + "Connection: close\r\n\r\n";
    }
    const qint64 announced = m_answer.announcedLength < 0 ? length : m_answer.announcedLength;
    return head + "Content-Length: " + QByteArray::number(announced) + "\r\n\r\n";
}

void HttpConnection::SendBody()
{
    const int count = m_answer.chunkSize > 0 ? m_answer.chunkSize : m_unsent.size();
    m_socket->write(m_unsent.left(count));
    m_unsent.remove(0, count);
    if (m_unsent.isEmpty()) {
        EndAnswer();
    } else {
        QTimer::singleShot(m_answer.chunkPauseMs, this, [this] { SendBody(); });
    }
}

void HttpConnection::EndAnswer()
{
    switch (m_answer.fault) {
    case HttpAnswer::Fault::StallAfter:
    case HttpAnswer::Fault::Silence:
        return;
    case HttpAnswer::Fault::CloseAtOnce:
    case HttpAnswer::Fault::CloseAfter:
        m_socket->disconnectFromHost();
        return;
    case HttpAnswer::Fault::ResetAfter:
    case HttpAnswer::Fault::ResetAtOnce:
        gResetConnection(*m_socket);
        return;
    case HttpAnswer::Fault::None:
        break;
    }
    if (!m_answer.announceLength) {
        m_socket->disconnectFromHost();
        return;
    }
    m_busy = false;
    ReadRequest();
}
