// SPDX-License-Identifier: MIT

#pragma once

#include "tests/support/FaultAnswer.h"

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QtGlobal>

/// The answer to all requests of one path. By default the whole body, or the range asked for, is
/// sent at once.
struct HttpAnswer {
    enum class Fault {
        None,
        /// The request is read, nothing is ever sent.
        Silence,
        /// The connection is closed, or reset, in place of an answer.
        CloseAtOnce,
        ResetAtOnce,
        /// After `faultAfter` bytes of the body: the connection is closed, is reset, or stays open
        /// without another byte.
        CloseAfter,
        ResetAfter,
        StallAfter
    };

    int status = 200;
    QByteArray body;
    QByteArray contentType = "application/octet-stream";
    /// Further header fields, for example a Location.
    QList<QPair<QByteArray, QByteArray>> headers;
    /// Whether a Range header is answered with 206; otherwise it is ignored.
    bool ranges = true;
    /// Whether a Content-Length is sent. Without one, the body ends with the connection.
    bool announceLength = true;
    /// A Content-Length other than the size of the body; -1: the size of the body.
    qint64 announcedLength = -1;
    int delayMs = 0;
    /// The body is sent in pieces of this size with a pause between them; 0: in one piece.
    int chunkSize = 0;
    int chunkPauseMs = 0;
    Fault fault = Fault::None;
    qint64 faultAfter = 0;

    FaultAnswer AsFaultAnswer() const;

    static HttpAnswer Body(const QByteArray &body)
    {
        HttpAnswer answer;
        answer.body = body;
        return answer;
    }

    static HttpAnswer Status(int status)
    {
        HttpAnswer answer;
        answer.status = status;
        return answer;
    }

    static HttpAnswer Redirect(const QByteArray &location, int status = 302)
    {
        HttpAnswer answer = Status(status);
        answer.headers.append({"Location", location});
        return answer;
    }

    static HttpAnswer Broken(const QByteArray &body, Fault fault, qint64 faultAfter = 0)
    {
        HttpAnswer answer = Body(body);
        answer.fault = fault;
        answer.faultAfter = faultAfter;
        return answer;
    }
};
