// SPDX-License-Identifier: MIT

#include "update/transfer/RangeAnswer.h"

#include <QDateTime>
#include <QList>
#include <QLocale>

#include <optional>

namespace
{
constexpr int partialContent = 206;

/// Digits only: no sign, no blanks, nothing that does not fit.
std::optional<qint64> gParseNumber(const QByteArray &text)
{
    for (const char character : text) {
        if (character < '0' || character > '9') {
            return std::nullopt;
        }
    }
    bool isNumber = false;
    const qint64 number = text.toLongLong(&isNumber);
    return isNumber ? std::make_optional(number) : std::nullopt;
}

struct ContentRange {
    qint64 first = 0;
    qint64 last = 0;
    /// Nothing when the server does not know it, "*".
    std::optional<qint64> total;
};

/// "bytes 0-99/1000"; nothing when the text is not of this form or contradicts itself.
std::optional<ContentRange> gParseContentRange(const QByteArray &text)
{
    const QByteArray field = text.simplified().toLower();
    if (!field.startsWith("bytes ")) {
        return std::nullopt;
    }
    const QList<QByteArray> halves = field.mid(6).split('/');
    const QList<QByteArray> ends = halves.first().split('-');
    if (halves.size() != 2 || ends.size() != 2) {
        return std::nullopt;
    }
    const auto first = gParseNumber(ends.at(0).trimmed());
    const auto last = gParseNumber(ends.at(1).trimmed());
    const QByteArray total = halves.at(1).trimmed();
    ContentRange range;
    range.total = gParseNumber(total);
    if (!first || !last || *last < *first || (total != "*" && !range.total) ||
        (range.total && *range.total <= *last)) {
        return std::nullopt;
    }
    range.first = *first;
    range.last = *last;
    return range;
}

/// A field that was sent several times arrives as a list. Equal lengths count as one; different
/// lengths count as none.
std::optional<qint64> gParseLength(const QByteArray &text)
{
    const QList<QByteArray> values = text.split(',');
    const QByteArray length = values.first().trimmed();
    for (const QByteArray &value : values) {
        if (value.trimmed() != length) {
            return std::nullopt;
        }
    }
    return gParseNumber(length);
}

/// "Sun, 06 Nov 1994 08:49:37 GMT"; not valid when the text is not of this form.
QDateTime gParseDate(const QByteArray &text)
{
    return QLocale::c().toDateTime(QString::fromLatin1(text.trimmed()),
                                   QStringLiteral("ddd, dd MMM yyyy hh:mm:ss 'GMT'"));
}
} // namespace

RangeVerdict gJudgeWholePackage(const RangeAnswer &answer)
{
    const QByteArray encoding = answer.contentEncoding.trimmed().toLower();
    return encoding.isEmpty() || encoding == "identity" ? RangeVerdict::Accepted
                                                        : RangeVerdict::Compressed;
}

RangeVerdict gJudgeAnswer(const RangeQuestion &question, const RangeAnswer &answer)
{
    if (const RangeVerdict verdict = gJudgeWholePackage(answer);
        verdict != RangeVerdict::Accepted) {
        return verdict;
    }
    if (const auto range = gParseContentRange(answer.contentRange)) {
        if (range->first != question.first) {
            return RangeVerdict::OtherOffset;
        }
        if (question.packageSize > 0 && range->total && *range->total != question.packageSize) {
            return RangeVerdict::OtherPackage;
        }
        if (answer.status == partialContent) {
            return RangeVerdict::Accepted;
        }
    }
    return gParseLength(answer.contentLength) == question.count ? RangeVerdict::Accepted
                                                                : RangeVerdict::OtherLength;
}

const char *gVerdictText(RangeVerdict verdict)
{
    switch (verdict) {
    case RangeVerdict::Accepted:
        return "accepted";
    case RangeVerdict::Compressed:
        return "the answer is compressed";
    case RangeVerdict::OtherOffset:
        return "the answer starts at another byte";
    case RangeVerdict::OtherPackage:
        return "the answer belongs to another package";
    case RangeVerdict::OtherLength:
        return "the answer is neither a part that starts there nor as long as what was asked for";
    case RangeVerdict::OtherVersion:
        return "the package was replaced on the server";
    }
    return "";
}

QByteArray gValidator(const RangeAnswer &answer)
{
    constexpr qint64 leastAgeSeconds = 60;

    const QByteArray tag = answer.entityTag.trimmed();
    if (!tag.isEmpty()) {
        return tag.startsWith("W/") ? QByteArray() : tag;
    }
    const QDateTime changed = gParseDate(answer.lastModified);
    const QDateTime sent = gParseDate(answer.date);
    const bool isStrong = changed.isValid() && changed.secsTo(sent) >= leastAgeSeconds;
    return isStrong ? answer.lastModified : QByteArray();
}
