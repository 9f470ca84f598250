// SPDX-License-Identifier: MIT

#include "tests/support/SocketReset.h"

#include <QTcpSocket>

#include <winsock2.h>

void gResetConnection(QTcpSocket &socket)
{
    while (socket.bytesToWrite() > 0 && socket.waitForBytesWritten()) {
    }
    // With a linger time of zero the system sends a reset when the socket is closed.
    const linger noLinger{1, 0};
    setsockopt(static_cast<SOCKET>(socket.socketDescriptor()), SOL_SOCKET, SO_LINGER,
               reinterpret_cast<const char *>(&noLinger), sizeof noLinger);
    socket.abort();
}
