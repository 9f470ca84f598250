// SPDX-License-Identifier: MIT

#include "tests/support/SocketReset.h"
#include "tests/support/TlsListener.h"

#include <QCoreApplication>
#include <QDataStream>
#include <QSocketNotifier>
#include <QSslSocket>

#include <cstdio>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{
bool gWasReset(qintptr descriptor)
{
    tcp_info info{};
    socklen_t size = sizeof info;
    return getsockopt(static_cast<int>(descriptor), IPPROTO_TCP, TCP_INFO, &info, &size) == 0 &&
           info.tcpi_state == TCP_CLOSE;
}

/// What arrives at @p from goes on to @p to, an end or a reset included.
void gForward(QTcpSocket *from, QTcpSocket *to)
{
    QObject::connect(from, &QTcpSocket::readyRead, to, [from, to] { to->write(from->readAll()); });
    QObject::connect(from, &QTcpSocket::errorOccurred, to, [from, to] {
        if (gWasReset(from->socketDescriptor())) {
            gResetConnection(*to);
        } else {
            to->disconnectFromHost();
        }
    });
    QObject::connect(from, &QTcpSocket::disconnected, to, &QTcpSocket::disconnectFromHost);
}

/// Connects with the test at once, before anything is encrypted, so that the test also counts the
/// connections of clients that reject the certificate.
void gServe(QTcpSocket *client, quint16 port)
{
    auto *test = new QTcpSocket(client->parent());
    gForward(client, test);
    gForward(test, client);
    QObject::connect(test, &QTcpSocket::disconnected, test, &QObject::deleteLater);
    QObject::connect(client, &QTcpSocket::disconnected, client, &QObject::deleteLater);
    test->connectToHost(QHostAddress::LocalHost, port);
}

/// A test sends its own port, a certificate and the key of that; the answer is the port for clients.
void gAnswer(QTcpSocket *asker)
{
    QDataStream stream(asker);
    quint16 port = 0;
    QByteArray certificate;
    QByteArray key;
    stream.startTransaction();
    stream >> port >> certificate >> key;
    if (!stream.commitTransaction()) {
        return;
    }
    auto *listener = new TlsListener(QSslCertificate(certificate), QSslKey(key, QSsl::Rsa));
    listener->setParent(asker);
    QObject::connect(listener, &QTcpServer::newConnection, listener, [listener, port] {
        while (QTcpSocket *client = listener->nextPendingConnection()) {
            gServe(client, port);
        }
    });
    stream << listener->Open();
}
} // namespace

/// Encrypts for tests whose system has no encryption for servers. It accepts tests at a port that it
/// writes, and for each a server's clients, as long as that test stays connected. It ends with its
/// input.
int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    QTcpServer tests;
    QObject::connect(&tests, &QTcpServer::newConnection, &tests, [&tests] {
        while (QTcpSocket *asker = tests.nextPendingConnection()) {
            QObject::connect(asker, &QTcpSocket::readyRead, asker, [asker] { gAnswer(asker); });
            QObject::connect(asker, &QTcpSocket::disconnected, asker, &QObject::deleteLater);
        }
    });
    const QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &application, [] {
        char byte = 0;
        if (read(STDIN_FILENO, &byte, 1) <= 0) {
            QCoreApplication::quit();
        }
    });
    if (!tests.listen(QHostAddress::LocalHost)) {
        return 1;
    }
    std::printf("%d\n", tests.serverPort());
    if (std::fflush(stdout) != 0) {
        return 1;
    }
    return QCoreApplication::exec();
}
