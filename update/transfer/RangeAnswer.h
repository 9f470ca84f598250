// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QtGlobal>

/// What a request for a part of the package asked for.
struct RangeQuestion {
    /// First byte and number of bytes; the number of an open-ended request reaches the package's end.
    qint64 first = 0;
    qint64 count = 0;
    /// Size of the package in bytes; 0 when it is not known.
    qint64 packageSize = 0;
};

/// The header fields of an answer that describe its body, as received.
struct RangeAnswer {
    int status = 0;
    QByteArray contentRange;
    QByteArray contentLength;
    QByteArray contentEncoding;
    QByteArray entityTag;
    QByteArray lastModified;
    QByteArray date;
};

enum class RangeVerdict {
    Accepted,
    /// The body is not the package's own bytes.
    Compressed,
    /// It starts at another byte than the one asked for.
    OtherOffset,
    /// It is cut out of a package of another size.
    OtherPackage,
    /// It names no start, and is not as long as what was asked for: the whole package
    /// for a part of it, for example.
    OtherLength,
    /// It is cut out of another version of the package. `gJudgeAnswer` does not compare versions.
    OtherVersion
};

/// Whether the body of @p answer may be written where @p question asked for it. It may when it is a
/// 206 that says that it starts there, or when it is exactly as long as what was asked for.
///
/// Pure; for answers that are neither an error nor a redirect.
RangeVerdict gJudgeAnswer(const RangeQuestion &question, const RangeAnswer &answer);

/// Whether the body of @p answer may be written from the package's first byte on: when it is the package's
/// own bytes. How many there are is counted at its end.
RangeVerdict gJudgeWholePackage(const RangeAnswer &answer);

/// The verdict in words, for the log.
const char *gVerdictText(RangeVerdict verdict);

/// What names the version of the package that @p answer is cut out of: two that differ stand for
/// different bytes. A strong entity tag; where there is no tag, the date of the file if it is a minute
/// older than the answer (RFC 7232, 2.1 and 2.2.2). Empty when it has neither.
QByteArray gValidator(const RangeAnswer &answer);
