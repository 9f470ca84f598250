// SPDX-License-Identifier: MIT

#include "tests/support/FaultAnswer.h"

#include "tests/support/GzipBytes.h"

namespace
{
constexpr int noStatus = 0;
constexpr int statusOk = 200;
constexpr int statusPartial = 206;
constexpr int statusOutOfReach = 416;

/// The first and the last byte that @p request asks for of @p size bytes; nothing without a range.
std::optional<QPair<qint64, qint64>> gRange(const HttpRequest &request, qint64 size)
{
    const QByteArray range = request.headers.value("range");
    if (!range.startsWith("bytes=")) {
        return std::nullopt;
    }
    const QList<QByteArray> ends = range.mid(6).split('-');
    const QByteArray last = ends.value(1);
    return QPair<qint64, qint64>(ends.value(0).toLongLong(),
                                 last.isEmpty() ? size - 1 : qMin(last.toLongLong(), size - 1));
}
} // namespace

FaultAnswer FaultAnswer::File(const QByteArray &file)
{
    return FaultAnswer().With(&FaultAnswer::m_file, file).Type("application/octet-stream");
}

FaultAnswer FaultAnswer::Text(const QByteArray &text, const QByteArray &type)
{
    return File(text).Type(type).OverlookRange();
}

FaultAnswer FaultAnswer::Status(int status)
{
    return FaultAnswer().WithStatus(status);
}

FaultAnswer FaultAnswer::Redirect(const QByteArray &location, int status)
{
    return Status(status).Header("Location", location);
}

FaultAnswer FaultAnswer::Silence()
{
    return FaultAnswer().EndingAfter(-1, FaultStep::Kind::Hold);
}

FaultAnswer FaultAnswer::Closed()
{
    return FaultAnswer().EndingAfter(-1, FaultStep::Kind::Close);
}

FaultAnswer FaultAnswer::WithReset()
{
    return FaultAnswer().EndingAfter(-1, FaultStep::Kind::Reset);
}

FaultAnswer FaultAnswer::Raw(const QByteArray &bytes)
{
    return Closed().With(&FaultAnswer::m_raw, bytes);
}

FaultAnswer FaultAnswer::WithStatus(int status) const
{
    return With(&FaultAnswer::m_status, status);
}

FaultAnswer FaultAnswer::Type(const QByteArray &type) const
{
    return With(&FaultAnswer::m_type, type);
}

FaultAnswer FaultAnswer::Header(const QByteArray &name, const QByteArray &value) const
{
    FaultAnswer answer = *this;
    answer.m_headers.append({name, value});
    return answer;
}

FaultAnswer FaultAnswer::ContentRange(const QByteArray &value) const
{
    return With(&FaultAnswer::m_contentRange, value);
}

FaultAnswer FaultAnswer::Length(const QByteArray &value) const
{
    FaultAnswer answer = *this;
    answer.m_lengths.append(value);
    return answer;
}

FaultAnswer FaultAnswer::NoLength() const
{
    return With(&FaultAnswer::m_length, false);
}

FaultAnswer FaultAnswer::HeaderFlood(int bytes) const
{
    return With(&FaultAnswer::m_headerFlood, bytes);
}

FaultAnswer FaultAnswer::OverlookRange() const
{
    return With(&FaultAnswer::m_ranges, false);
}

FaultAnswer FaultAnswer::Shifted(qint64 bytes) const
{
    return With(&FaultAnswer::m_shift, bytes);
}

FaultAnswer FaultAnswer::Body(const QByteArray &bytes) const
{
    return With(&FaultAnswer::m_body, bytes);
}

FaultAnswer FaultAnswer::Longer(int bytes) const
{
    return With(&FaultAnswer::m_surplus, bytes);
}

FaultAnswer FaultAnswer::Gzip() const
{
    return Header("Content-Encoding", "gzip").With(&FaultAnswer::m_gzip, true);
}

FaultAnswer FaultAnswer::BodyToHead() const
{
    return With(&FaultAnswer::m_bodyToHead, true);
}

FaultAnswer FaultAnswer::FirstByteAfter(int ms) const
{
    return With(&FaultAnswer::m_firstByteMs, ms);
}

FaultAnswer FaultAnswer::Pieces(int size, int pauseMs) const
{
    return With(&FaultAnswer::m_pieceSize, size).With(&FaultAnswer::m_piecePauseMs, pauseMs);
}

FaultAnswer FaultAnswer::PauseAfter(qint64 bytes, int ms) const
{
    return With(&FaultAnswer::m_pauseAfter, bytes).With(&FaultAnswer::m_pauseMs, ms);
}

FaultAnswer FaultAnswer::CutAfter(qint64 bytes) const
{
    return EndingAfter(bytes, FaultStep::Kind::Close);
}

FaultAnswer FaultAnswer::ResetAfter(qint64 bytes) const
{
    return EndingAfter(bytes, FaultStep::Kind::Reset);
}

FaultAnswer FaultAnswer::StallAfter(qint64 bytes) const
{
    return EndingAfter(bytes, FaultStep::Kind::Hold);
}

FaultAnswer FaultAnswer::SpoilAfter(qint64 bytes) const
{
    return EndingAfter(bytes, FaultStep::Kind::Spoil);
}

FaultAnswer FaultAnswer::EndingAfter(qint64 bytes, FaultStep::Kind kind) const
{
    return With(&FaultAnswer::m_endAfter, bytes).With(&FaultAnswer::m_end, kind);
}

FaultAnswer FaultAnswer::Endless() const
{
    return With(&FaultAnswer::m_endless, true);
}

// --- On the wire ---------------------------------------------------------------------------------

FaultAnswer::Content FaultAnswer::ContentFor(const HttpRequest &request) const
{
    const qint64 size = m_file.size();
    const auto range = m_ranges ? gRange(request, size) : std::nullopt;
    Content content;
    content.body = m_file;
    if (range.has_value() && (m_status == noStatus || m_status == statusPartial)) {
        const qint64 first = range->first + m_shift;
        const qint64 last = qMin(range->second + m_shift, size - 1);
        const bool satisfiable = first <= last;
        content.status = satisfiable ? statusPartial : statusOutOfReach;
        content.contentRange = satisfiable
                                   ? QByteArray::number(first) + '-' + QByteArray::number(last)
                                   : QByteArray("*");
        content.contentRange = "bytes " + content.contentRange + '/' + QByteArray::number(size);
        content.body = satisfiable
                           ? m_file.mid(static_cast<int>(first), static_cast<int>(last - first + 1))
                           : QByteArray();
    }
    if (m_status != noStatus) {
        content.status = m_status;
    }
    if (m_contentRange.has_value()) {
        content.contentRange = *m_contentRange;
    }
    if (m_gzip) {
        content.body = gGzipped(content.body);
    }
    return content;
}

QByteArray FaultAnswer::Head(const Content &content) const
{
    QByteArray head = "HTTP/1.1 " + QByteArray::number(content.status) + " Scripted\r\n";
    if (!m_type.isEmpty()) {
        head += "Content-Type: " + m_type + "\r\n";
    }
    if (!content.contentRange.isEmpty()) {
        head += "Content-Range: " + content.contentRange + "\r\n";
    }
    for (const auto &header : m_headers) {
        head += header.first + ": " + header.second + "\r\n";
    }
    for (int number = 0; head.size() < m_headerFlood; ++number) {
        head += "X-Flood-" + QByteArray::number(number) + ": " + QByteArray(1000, 'x') + "\r\n";
    }
    if (!m_length) {
        return head + "Connection: close\r\n\r\n";
    }
    const QList<QByteArray> lengths =
        m_lengths.isEmpty() ? QList<QByteArray>{QByteArray::number(content.body.size())}
                            : m_lengths;
    for (const QByteArray &length : lengths) {
        head += "Content-Length: " + length + "\r\n";
    }
    return head + "\r\n";
}

void FaultAnswer::AppendBody(QList<FaultStep> &steps, const QByteArray &body) const
{
    const auto send = [&steps, this](const QByteArray &bytes, bool forEver = false) {
        FaultStep step = FaultStep::Send(bytes);
        step.pieceSize = m_pieceSize;
        step.pauseMs = m_piecePauseMs;
        step.forEver = forEver;
        steps.append(step);
    };
    const QByteArray sent = m_endAfter < 0 ? body : body.left(static_cast<int>(m_endAfter));
    if (m_pauseAfter >= 0) {
        send(sent.left(static_cast<int>(m_pauseAfter)));
        steps.append(FaultStep::Pause(m_pauseMs));
        send(sent.mid(static_cast<int>(m_pauseAfter)));
    } else {
        send(sent);
    }
    if (m_endless) {
        send(QByteArray(16384, 'e'), true);
    }
}

QList<FaultStep> FaultAnswer::StepsFor(const HttpRequest &request) const
{
    QList<FaultStep> steps;
    if (m_firstByteMs > 0) {
        steps.append(FaultStep::Pause(m_firstByteMs));
    }
    if (!m_raw.isEmpty()) {
        steps.append(FaultStep::Send(m_raw));
    } else if (!m_end.has_value() || m_endAfter >= 0) {
        const Content content = ContentFor(request);
        steps.append(FaultStep::Send(Head(content)));
        if (request.method != "HEAD" || m_bodyToHead) {
            AppendBody(steps, m_body.value_or(content.body) + QByteArray(m_surplus, 's'));
        }
    }
    if (m_end.has_value()) {
        steps.append(FaultStep::Of(*m_end));
    } else if (!m_length) {
        steps.append(FaultStep::Of(FaultStep::Kind::Close));
    }
    return steps;
}
