// SPDX-License-Identifier: MIT

#pragma once

#include "tests/support/FaultStep.h"
#include "tests/support/HttpRequest.h"

#include <QByteArray>
#include <QList>
#include <QMetaType>
#include <QPair>

#include <optional>

/// An answer of the test server: a right one, and what is changed about it.
///
///     FaultAnswer::File(package).CutAfter(700)
///     FaultAnswer::File(package).Pieces(1, 1000)
///     FaultAnswer::File(package).ContentRange("bytes 0-9/10").Length("9").Length("10")
///
/// The order of the changes does not matter.
class FaultAnswer
{
public:
    /// The whole of @p file, or the range of it that is asked for.
    static FaultAnswer File(const QByteArray &file);
    /// A text of @p type, for example a manifest or an error page. Range headers are ignored.
    static FaultAnswer Text(const QByteArray &text, const QByteArray &type = "text/xml");
    static FaultAnswer Status(int status);
    /// @p location is sent as it stands; it may be a path alone.
    static FaultAnswer Redirect(const QByteArray &location, int status = 302);
    /// The request is read, and nothing is ever sent.
    static FaultAnswer Silence();
    static FaultAnswer Closed();
    static FaultAnswer WithReset();
    /// @p bytes in place of a head and a body; then the connection is closed.
    static FaultAnswer Raw(const QByteArray &bytes);

    // --- The head

    FaultAnswer WithStatus(int status) const;
    FaultAnswer Type(const QByteArray &type) const;
    FaultAnswer Header(const QByteArray &name, const QByteArray &value) const;
    /// This Content-Range in place of the right one; empty: none.
    FaultAnswer ContentRange(const QByteArray &value) const;
    /// This Content-Length in place of the right one; a second call sends a second one.
    FaultAnswer Length(const QByteArray &value) const;
    FaultAnswer NoLength() const;
    /// @p bytes of further header fields behind the others.
    FaultAnswer HeaderFlood(int bytes) const;

    // --- The body

    /// The Range header is ignored: the whole file, with 200.
    FaultAnswer OverlookRange() const;
    /// The range is answered as if it began so many bytes later, in the head and in the body.
    FaultAnswer Shifted(qint64 bytes) const;
    /// The head is that of the file; the bytes are these.
    FaultAnswer Body(const QByteArray &bytes) const;
    /// So many bytes more than the head announces.
    FaultAnswer Longer(int bytes) const;
    /// The body is compressed, and the head says so, with the length of the compressed form.
    FaultAnswer Gzip() const;
    /// A HEAD is answered with a body as well.
    FaultAnswer BodyToHead() const;

    // --- The pace and the end

    FaultAnswer FirstByteAfter(int ms) const;
    FaultAnswer Pieces(int size, int pauseMs) const;
    /// After so many bytes of the body nothing is sent for @p ms; then the rest follows.
    FaultAnswer PauseAfter(qint64 bytes, int ms) const;
    /// After so many bytes of the body: the connection is closed, reset, or stays open without
    /// another byte.
    FaultAnswer CutAfter(qint64 bytes) const;
    FaultAnswer ResetAfter(qint64 bytes) const;
    FaultAnswer StallAfter(qint64 bytes) const;
    /// After so many bytes of the body what an encrypted server sends cannot be decrypted any more.
    FaultAnswer SpoilAfter(qint64 bytes) const;
    /// Further bytes follow the body until the client closes the connection.
    FaultAnswer Endless() const;

    /// What happens on the wire when @p request is answered.
    QList<FaultStep> StepsFor(const HttpRequest &request) const;

private:
    struct Content {
        int status = 200;
        QByteArray contentRange;
        QByteArray body;
    };

    Content ContentFor(const HttpRequest &request) const;
    QByteArray Head(const Content &content) const;
    void AppendBody(QList<FaultStep> &steps, const QByteArray &body) const;
    FaultAnswer EndingAfter(qint64 bytes, FaultStep::Kind kind) const;
    /// This answer with another @p value of @p member.
    template<typename Member, typename Value>
    FaultAnswer With(Member FaultAnswer::*member, const Value &value) const
    {
        FaultAnswer answer = *this;
        answer.*member = value;
        return answer;
    }

    QByteArray m_file;
    QByteArray m_raw;
    int m_status = 0;
    QByteArray m_type;
    QList<QPair<QByteArray, QByteArray>> m_headers;
    std::optional<QByteArray> m_contentRange;
    QList<QByteArray> m_lengths;
    bool m_length = true;
    int m_headerFlood = 0;
    bool m_ranges = true;
    qint64 m_shift = 0;
    std::optional<QByteArray> m_body;
    int m_surplus = 0;
    bool m_gzip = false;
    bool m_bodyToHead = false;
    int m_firstByteMs = 0;
    int m_pieceSize = 0;
    int m_piecePauseMs = 0;
    qint64 m_pauseAfter = -1;
    int m_pauseMs = 0;
    qint64 m_endAfter = -1;
    std::optional<FaultStep::Kind> m_end;
    bool m_endless = false;
};
Q_DECLARE_METATYPE(FaultAnswer)
