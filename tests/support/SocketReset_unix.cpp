// SPDX-License-Identifier: MIT

#include "tests/support/SocketReset.h"

#include <QTcpSocket>

#include <sys/socket.h>

void gResetConnection(QTcpSocket &socket)
{
    while (socket.bytesToWrite() > 0 && socket.waitForBytesWritten()) {
    }
    // With a linger time of zero the system sends a reset when the socket is closed.
    const linger noLinger{1, 0};
    setsockopt(static_cast<int>(socket.socketDescriptor()), SOL_SOCKET, SO_LINGER, &noLinger,
               sizeof noLinger);
    socket.abort();
}
