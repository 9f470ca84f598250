// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>

/// One step of an answer on the wire.
struct FaultStep {
    enum class Kind {
        Send,
        Pause,
        /// The connection stays open, and nothing more is ever sent or read.
        Hold,
        Close,
        Reset,
        /// Bytes that are no part of the encrypted connection follow, and then nothing more.
        Spoil
    };

    Kind kind = Kind::Send;
    QByteArray bytes;
    /// The bytes are sent in pieces of this size with `pauseMs` between them; 0: in one piece.
    int pieceSize = 0;
    int pauseMs = 0;
    /// The bytes are sent again and again, until the client closes the connection.
    bool forEver = false;

    static FaultStep Send(const QByteArray &bytes)
    {
        FaultStep step;
        step.bytes = bytes;
        return step;
    }

    static FaultStep Pause(int ms)
    {
        FaultStep step;
        step.kind = Kind::Pause;
        step.pauseMs = ms;
        return step;
    }

    static FaultStep Of(Kind kind)
    {
        FaultStep step;
        step.kind = kind;
        return step;
    }
};
