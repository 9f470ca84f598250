#include "tests/support/SocketReset.h"

#include <sys/socket.h>

void gResetWhenClosed(qintptr descriptor)
{
    // A linger time of zero is what asks for it.
    const linger noLinger{1, 0};
    setsockopt(static_cast<int>(descriptor), SOL_SOCKET, SO_LINGER, &noLinger, sizeof noLinger);
}
