// SPDX-License-Identifier: MIT

#pragma once

class QTcpSocket;

/// Ends a connection with a reset in place of a proper close. What was written before it is sent
/// first.
void gResetConnection(QTcpSocket &socket);
