#include "tests/support/SocketReset.h"

#include <winsock2.h>

void gResetWhenClosed(qintptr descriptor)
{
    // A linger time of zero is what asks for it.
    const linger noLinger{1, 0};
    setsockopt(static_cast<SOCKET>(descriptor), SOL_SOCKET, SO_LINGER,
               reinterpret_cast<const char *>(&noLinger), sizeof noLinger);
}
